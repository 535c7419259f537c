function area(shape) end
