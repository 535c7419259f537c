function normHelper(p) end
