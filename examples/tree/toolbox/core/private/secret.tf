function secret() end
