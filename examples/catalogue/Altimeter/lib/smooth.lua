-- Moving average over the last few readings, so that a single gust
-- against the pressure sensor does not start an announcement.

local SIZE = 5

local ring = {}
local nextSlot = 1

local function reset()
    ring = {}
    nextSlot = 1
end

local function add(value)
    ring[nextSlot] = value
    nextSlot = nextSlot % SIZE + 1

    local sum = 0
    for _, reading in ipairs(ring) do
        sum = sum + reading
    end
    return sum / #ring
end

return { reset = reset, add = add }
