function main() hello() end
