# Writes to FUNCTIONS what remains of the module definition file DEF without its exported variables, which cannot be
# imported with a delay, and without ordinals, which change from build to build. A file that holds
# just that is left alone.
file(STRINGS ${DEF} exports REGEX "^ +[^ ]+ @[0-9]+$")
list(TRANSFORM exports REPLACE "^ +([^ ]+) @[0-9]+$" "\\1")
list(JOIN exports "\n" exports)
file(CONFIGURE OUTPUT ${FUNCTIONS} @ONLY CONTENT "LIBRARY WMIService.dll\nEXPORTS\n${exports}\n")
