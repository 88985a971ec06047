# Writes HEADER to OUTPUT with includes of the same folder: "base/Error.h" becomes "Error.h".
file(READ ${HEADER} text)
string(REGEX REPLACE "#include \"[a-z/]*/" "#include \"" text "${text}")
file(WRITE ${OUTPUT} "${text}")
