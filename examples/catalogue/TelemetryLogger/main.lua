-- Telemetry Logger: writes the sensor values to a text file on the card.
-- Recording runs while switch SB points away from you.

local fields = radio.load("fields.lua")

local file               -- open file while recording
local fileName = ""
local rows = 0
local nextRow = 0
local failed = false     -- the card refused; wait for the switch to go back

local function open()
    fileName = os.date("%Y%m%d-%H%M%S") .. ".csv"
    file = io.open("/log/" .. fileName, "w")
    if file == nil then
        failed = true
        speech.play("error")
        return
    end
    local head = { "time" }
    for _, field in ipairs(fields.list) do
        head[#head + 1] = field.title
    end
    file:write(table.concat(head, ";"), "\n")
    rows = 0
    nextRow = radio.seconds()
end

local function close()
    if file ~= nil then
        file:close()
        file = nil
    end
end

local function write(now)
    local row = { string.format("%.1f", now) }
    for _, field in ipairs(fields.list) do
        local value = sensor.value(field.sensor)
        row[#row + 1] = value and string.format(field.format, value) or ""
    end
    file:write(table.concat(row, ";"), "\n")
    rows = rows + 1
end

local function run()
    local wanted = radio.switch("SB") == 1
    if not wanted then
        failed = false
        close()
    elseif file == nil and not failed then
        open()
    end

    local now = radio.seconds()
    if file ~= nil and now >= nextRow then
        write(now)
        nextRow = now + fields.interval
    end
end

local function draw()
    screen.text(8, 30, file and "REC" or "STOP", "big")
    screen.text(8, 72, fileName, "small")
    screen.text(8, 92, rows .. " rows", "small")
end

return { name = "Telemetry Logger", init = close, run = run, draw = draw, stop = close }
