# Writes to FUNCTIONS what remains of the module definition file DEF without its exported variables, which cannot be
# imported with a delay, and without ordinals, which change from build to build.
file(STRINGS ${DEF} exports REGEX "^ +[^ ]+ @[0-9]+$")
list(TRANSFORM exports REPLACE "^ +([^ ]+) @[0-9]+$" "\\1")
list(JOIN exports "\n" exports)
file(WRITE ${FUNCTIONS} "LIBRARY WMIService.dll\nEXPORTS\n${exports}\n")
