-- The work of the rows that are set beside Lua: prints the best nanoseconds a step of each, one a line.

local function best(steps, work)
    local least = math.huge
    for _ = 1, 5 do
        local start = os.clock()
        work()
        least = math.min(least, os.clock() - start)
    end
    return least / steps * 1e9
end

local function add_up()
    local total = 0
    for i = 1, 1000000 do total = total + i end
    assert(total == 500000500000)
end

local function f(a, b) return a + b end
local function call()
    local total = 0
    for i = 1, 1000000 do total = f(total, i) end
    assert(total == 500000500000)
end

local function fib(n) if n < 2 then return n end return fib(n - 1) + fib(n - 2) end

-- In pieces of a hundred names, as a sentence of ours has them.
local sources = {}
for at = 0, 99900, 100 do
    local lines = {}
    for i = at, at + 99 do lines[#lines + 1] = string.format("n%d = %d; read = n%d\n", i, i, i) end
    sources[#sources + 1] = table.concat(lines)
end
local function names()
    local scope = {}
    for _, source in ipairs(sources) do assert(load(source, "names", "t", scope))() end
end

print("addition in a loop", best(1000000, add_up))
print("call of a function in a loop", best(1000000, call))
print("call of fib", best(150049, function() assert(fib(24) == 46368) end))
print("name made and read", best(100000, names))
