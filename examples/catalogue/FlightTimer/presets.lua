-- One entry per model. Change these to suit your own packs:
--   minutes  time on the clock after a reset
--   cells    cells in series
--   lowest   volts per cell at which the warning sounds
--   marks    seconds left that are spoken, longest first

return {
    { name = "Trainer 3S",  minutes = 8,  cells = 3, lowest = 3.50, marks = { 120, 60, 30, 10 } },
    { name = "Glider 2S",   minutes = 25, cells = 2, lowest = 3.55, marks = { 300, 60, 10 } },
    { name = "Aerobat 6S",  minutes = 5,  cells = 6, lowest = 3.60, marks = { 60, 30, 20, 10 } },
}
