function a = polygonArea(p), a = 0; end
