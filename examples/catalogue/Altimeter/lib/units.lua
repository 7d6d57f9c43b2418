-- The sensor always reports metres; everything else is converted here.

return {
    m  = { short = "m",  spoken = "metres", factor = 1 },
    ft = { short = "ft", spoken = "feet",   factor = 3.28084 },
}
