-- Vario Sounds: turns climb and sink into tones you can tell apart
-- without looking down. Two sets of tones, texts in four languages.

local THEMES = { "soft", "sharp" }
local DEAD_BAND = 0.2    -- m/s; anything slower counts as level flight
local STRONGEST = 5      -- m/s at which the tones follow each other fastest

local text
local theme = 1
local climb = 0
local nextTone = 0

local function sound(name)
    return string.format("sounds/%s/%s.wav", THEMES[theme], name)
end

-- The stronger the lift or sink, the shorter the pause.
local function pause(speed)
    local strength = math.min(math.abs(speed) / STRONGEST, 1)
    return 1.2 - 0.9 * strength
end

local function init()
    text = radio.load("lang/" .. radio.language() .. ".lua")
        or radio.load("lang/en.lua")
    theme = store.get("theme", 1)
    nextTone = 0
end

local function run()
    climb = sensor.value("Vario") or 0
    local now = radio.seconds()
    if now < nextTone or radio.switch("SC") ~= 1 then
        return
    end
    if climb > DEAD_BAND then
        speech.play(sound("climb"))
    elseif climb < -DEAD_BAND then
        speech.play(sound("sink"))
    else
        speech.play(sound("level"))
    end
    nextTone = now + pause(climb)
end

local function draw()
    local word = text.level
    if climb > DEAD_BAND then
        word = text.climb
    elseif climb < -DEAD_BAND then
        word = text.sink
    end
    screen.text(8, 30, string.format("%+.1f m/s", climb), "huge")
    screen.text(8, 84, word, "big")
    screen.text(8, 110, text.theme .. ": " .. text[THEMES[theme]], "small")
end

local function key(name)
    if name == "ENT" then
        theme = theme % #THEMES + 1
        store.set("theme", theme)
        speech.play(sound("climb"))
    end
end

return { name = "Vario Sounds", init = init, run = run, draw = draw, key = key }
