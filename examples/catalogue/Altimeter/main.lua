-- Altimeter: shows the height above the take-off point and speaks it.
-- A pull on switch SA speaks the height at once.

local smooth = radio.load("lib/smooth.lua")
local units = radio.load("lib/units.lua")

local STEP = 10          -- speak each time this many units are passed
local PAUSE = 3          -- seconds of silence between two announcements

local ground             -- sensor reading at take-off
local height = 0
local highest = 0
local spokenStep = 0
local spokenAt = 0
local switchWas = -1
local unit

local function announce(now)
    speech.number(math.floor(height + 0.5), unit.spoken)
    spokenStep = height // STEP
    spokenAt = now
end

local function init()
    unit = units[store.get("unit", "m")] or units.m
    ground = nil
    highest = 0
    smooth.reset()
end

local function run()
    local raw = sensor.value("Alt")
    if raw == nil then
        return           -- no telemetry yet
    end
    ground = ground or raw
    height = smooth.add((raw - ground) * unit.factor)
    highest = math.max(highest, height)

    local now = radio.seconds()
    local switch = radio.switch("SA")
    local pulled = switch == 1 and switchWas ~= 1
    switchWas = switch

    if pulled then
        announce(now)
    elseif height // STEP ~= spokenStep and now - spokenAt >= PAUSE then
        announce(now)
    end
end

local function draw()
    screen.text(8, 30, string.format("%.0f", height), "huge")
    screen.text(110, 52, unit.short, "big")
    screen.text(8, 104, string.format("max %.0f %s", highest, unit.short), "small")
    if highest > 0 then
        screen.bar(206, 28, 18, 88, math.max(0, height / highest))
    end
end

local function key(name)
    if name == "CLR" then
        init()           -- take the present height as the new zero
    end
end

return { name = "Altimeter", init = init, run = run, draw = draw, key = key }
