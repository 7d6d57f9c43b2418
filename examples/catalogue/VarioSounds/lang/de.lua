-- Deutsch
return {
    climb = "Steigen",
    level = "Horizontalflug",
    sink = "Sinken",
    theme = "Töne",
    soft = "weich",
    sharp = "scharf",
}
