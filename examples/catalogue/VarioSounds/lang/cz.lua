-- Čeština
return {
    climb = "Stoupání",
    level = "Vodorovný let",
    sink = "Klesání",
    theme = "Tóny",
    soft = "měkké",
    sharp = "ostré",
}
