function area(x) end
