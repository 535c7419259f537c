function m = mean(x), m = sum(x) / numel(x); end
