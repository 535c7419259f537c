function x() end
