function circle(r) end
