-- Flight Timer: counts the flying time down and keeps an eye on the battery.
-- The clock only runs while the throttle is above idle.

local presets = radio.load("presets.lua")

local IDLE = -90         -- throttle in percent below which the motor is off
local LOW_TIME = 2       -- seconds the voltage must stay low to count

local preset
local left               -- seconds left on the clock
local running = false
local warned = {}
local lowSince
local lastTime

local function init()
    preset = presets[store.get("preset", 1)] or presets[1]
    left = preset.minutes * 60
    warned = {}
    lowSince = nil
    lastTime = radio.seconds()
end

local function checkClock()
    for _, mark in ipairs(preset.marks) do
        if left <= mark and not warned[mark] then
            warned[mark] = true
            speech.number(mark, "seconds")
        end
    end
end

local function checkBattery(now)
    local volts = sensor.value("Vbat")
    if volts == nil or volts / preset.cells >= preset.lowest then
        lowSince = nil
        return
    end
    lowSince = lowSince or now
    if now - lowSince >= LOW_TIME and not warned.battery then
        warned.battery = true
        speech.number(volts, "volts")
        radio.vibrate(2)
    end
end

local function run()
    local now = radio.seconds()
    running = radio.input("throttle") > IDLE
    if running then
        left = left - (now - lastTime)
        checkClock()
    end
    lastTime = now
    checkBattery(now)
end

local function draw()
    local shown = math.max(0, math.ceil(left))
    screen.text(8, 30, string.format("%d:%02d", shown // 60, shown % 60), "huge")
    screen.text(160, 44, running and "RUN" or "PAUSE", "big")
    screen.text(8, 80, preset.name, "small")
    screen.text(180, 80, string.format("%.1f V", sensor.value("Vbat") or 0), "small")
    screen.bar(8, 98, 224, 16, math.max(0, left) / (preset.minutes * 60))
end

local function key(name)
    if name == "CLR" then
        init()
    end
end

return { name = "Flight Timer", init = init, run = run, draw = draw, key = key }
