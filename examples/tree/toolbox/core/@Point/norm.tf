function norm(p) end
