# Run by the build: writes the text file SOURCE as the C++ text NAME into OUTPUT, a literal for each line, because
# compilers limit the length of a single one.
file(READ ${SOURCE} text)
string(REPLACE "\r" "" text "${text}")
string(REPLACE "\n" "\\n\"\nR\"text(" text "${text}")
string(REPLACE "\\n\"\nR\"text(" ")text\" \"\\n\"\n    R\"text(" text "${text}")
file(WRITE ${OUTPUT} "// Made of ${NAME} by the build.\n#include \"EmbeddedTexts.h\"\n\nnamespace maravel::diagnosis {\n\n"
  "const char ${NAME}[] =\n    R\"text(${text})text\";\n\n} // namespace maravel::diagnosis\n")
