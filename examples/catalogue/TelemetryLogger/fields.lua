-- What is written, and how often. A sensor that the model does not have
-- leaves its column empty.

return {
    interval = 0.5,      -- seconds between two rows

    list = {
        { sensor = "Vbat",  title = "battery V",   format = "%.2f" },
        { sensor = "Curr",  title = "current A",   format = "%.1f" },
        { sensor = "Alt",   title = "height m",    format = "%.1f" },
        { sensor = "Vario", title = "climb m/s",   format = "%+.1f" },
        { sensor = "Temp",  title = "motor deg C", format = "%.0f" },
        { sensor = "RSSI",  title = "link %",      format = "%.0f" },
    },
}
