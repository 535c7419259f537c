function greeting() end
