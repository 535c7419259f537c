function s = square(n), s = n * n; end
