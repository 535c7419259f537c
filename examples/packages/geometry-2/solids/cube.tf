function v = cube(n), v = n * n * n; end
