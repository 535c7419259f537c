function hello() print("hello from core") end
