function hello() print("hello from extra") end
