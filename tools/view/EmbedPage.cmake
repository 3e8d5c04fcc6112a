# Run by the build: writes FILES, each "name|type|path", as arrays into OUTPUT, with a gzip copy of each.
string(REPLACE "," ";" files "${FILES}")
set(arrays "")
set(rows "")
set(number 0)

function(append_array name path)
  file(READ ${path} hex HEX)
  string(REGEX REPLACE "(................................................................)" "\\1\n" hex "${hex}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," hex "${hex}")
  set(arrays "${arrays}constexpr unsigned char ${name}[] = {\n${hex}};\n" PARENT_SCOPE)
endfunction()

foreach(file IN LISTS files)
  string(REPLACE "|" ";" parts "${file}")
  list(GET parts 0 name)
  list(GET parts 1 type)
  list(GET parts 2 path)
  if(type STREQUAL "-") # not served
    set(type "")
  endif()
  file(ARCHIVE_CREATE OUTPUT ${OUTPUT}.gz PATHS ${path} FORMAT raw COMPRESSION GZip)
  append_array(kFile${number} ${path})
  append_array(kPacked${number} ${OUTPUT}.gz)
  file(REMOVE ${OUTPUT}.gz)
  file(SHA256 ${path} sum)
  string(SUBSTRING ${sum} 0 16 sum)
  string(APPEND rows "    {\"${name}\", \"${type}\", kFile${number}, kPacked${number}, \"${sum}\"},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "// Made of the page's files by the build.\n#include \"PageFiles.h\"\n\nnamespace maravel::view {\n"
  "namespace {\n\n${arrays}\nconstexpr PageFile kFiles[] = {\n${rows}};\n\n} // namespace\n\n"
  "std::span<const PageFile> PageFiles()\n{\n    return kFiles;\n}\n\n} // namespace maravel::view\n")
