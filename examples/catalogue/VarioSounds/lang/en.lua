-- English
return {
    climb = "Climbing",
    level = "Level flight",
    sink = "Sinking",
    theme = "Tones",
    soft = "soft",
    sharp = "sharp",
}
