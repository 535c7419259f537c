class Point end
