function lift(p) end
