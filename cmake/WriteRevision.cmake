set(revision 0)
if(GIT)
  execute_process(COMMAND ${GIT} -C ${SOURCE} rev-list --count HEAD
    OUTPUT_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
  if(NOT failed AND output MATCHES "^[0-9]+$")
    set(revision ${output})
  endif()
endif()
file(CONFIGURE OUTPUT ${HEADER} @ONLY CONTENT
"#pragma once
#define MARAVEL_BUILD_REVISION \"@revision@\"
#define MARAVEL_BUILD_REVISION_NUMBER @revision@
#define MARAVEL_VERSION_MAJOR @MAJOR@
#define MARAVEL_VERSION_MINOR @MINOR@
#define MARAVEL_VERSION_PATCH @PATCH@
")
