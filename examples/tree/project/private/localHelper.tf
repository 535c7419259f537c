function localHelper() end
