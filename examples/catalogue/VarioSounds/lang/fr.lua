-- Français
return {
    climb = "Montée",
    level = "Vol en palier",
    sink = "Descente",
    theme = "Sons",
    soft = "doux",
    sharp = "aigus",
}
