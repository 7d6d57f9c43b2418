-- Servo Tester: drives one channel without moving a stick.
-- Take the propeller off before you start!

local MODES = { "centre", "sweep", "steps" }
local STEPS = { -100, -50, 0, 50, 100 }

local channel = 1
local mode = 1
local period = 4         -- seconds for one full sweep
local position = 0
local startedAt = 0

local function sweep(t)
    -- triangle wave between -100 and +100 that sets out from the centre
    local phase = (t / period + 0.25) % 1
    return 100 - 400 * math.abs(phase - 0.5)
end

local function steps(t)
    return STEPS[math.floor(t) % #STEPS + 1]
end

local function restart()
    mode = 1
    startedAt = radio.seconds()
end

local function init()
    channel = store.get("channel", 1)
    period = store.get("period", 4)
    restart()
end

local function run()
    local t = radio.seconds() - startedAt
    if MODES[mode] == "sweep" then
        position = sweep(t)
    elseif MODES[mode] == "steps" then
        position = steps(t)
    else
        position = 0
    end
    radio.output(channel, position)
end

local function draw()
    screen.text(8, 28, "Channel " .. channel, "big")
    screen.text(150, 28, MODES[mode], "big")
    screen.bar(8, 62, 224, 20, (position + 100) / 200)
    screen.text(8, 94, string.format("%+.0f %%", position), "small")
    screen.text(150, 94, string.format("%.1f s", period), "small")
end

local function key(name)
    if name == "ENT" then
        mode = mode % #MODES + 1
        startedAt = radio.seconds()
    elseif name == "UP" or name == "DOWN" then
        restart()        -- never jump to another servo in full motion
        radio.release(channel)
        channel = (channel - 1 + (name == "UP" and 1 or -1)) % 14 + 1
        store.set("channel", channel)
    elseif name == "LEFT" or name == "RIGHT" then
        period = math.max(1, math.min(10, period + (name == "RIGHT" and 0.5 or -0.5)))
        store.set("period", period)
    end
end

local function stop()
    radio.release(channel)
end

return { name = "Servo Tester", init = init, run = run, draw = draw, key = key, stop = stop }
