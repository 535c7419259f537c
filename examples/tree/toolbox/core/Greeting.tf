function Greeting() end
