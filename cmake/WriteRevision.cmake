cmake_minimum_required(VERSION 3.25)
# Writes what identifies a build. The number of commits comes from, in this order: MARAVEL_REVISION, the file that a
# source archive has, the history. A shallow clone would count wrong, so its number is 0, which means unknown.
set(revision 0)
set(commit unknown)
set(date 0)
set(archived ${SOURCE}/.revision)
if(EXISTS ${archived})
  file(STRINGS ${archived} fields)
  foreach(field IN LISTS fields)
    if(field MATCHES "^(revision|commit|date) ([0-9a-f]+)$")
      set(${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
    endif()
  endforeach()
elseif(GIT)
  function(ask variable)
    execute_process(COMMAND ${GIT} -C ${SOURCE} ${ARGN}
      OUTPUT_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    if(NOT failed)
      set(${variable} ${output} PARENT_SCOPE)
    endif()
  endfunction()
  ask(top rev-parse --show-toplevel)
  file(REAL_PATH ${SOURCE} source)
  if("${top}" STREQUAL "${source}") # sources inside a repository of something else have no history of their own
    ask(commit rev-parse HEAD)
    ask(date log -1 --format=%ct)
    ask(shallow rev-parse --is-shallow-repository)
    if(NOT shallow)
      ask(revision rev-list --count HEAD)
    endif()
  endif()
endif()
if(GIVEN_REVISION)
  set(revision ${GIVEN_REVISION})
endif()
if(NOT revision MATCHES "^[0-9]+$")
  message(FATAL_ERROR "MARAVEL_REVISION is '${revision}', which is no number.")
elseif(revision STREQUAL "0")
  message(STATUS "The build revision is unknown here and becomes 0. In a shallow clone, "
    "'git fetch --unshallow --filter=tree:0' brings it; elsewhere configure with -DMARAVEL_REVISION=NUMBER.")
endif()
string(SUBSTRING ${commit} 0 10 commit)
file(CONFIGURE OUTPUT ${HEADER} @ONLY CONTENT
"#pragma once
#define MARAVEL_BUILD_REVISION \"@revision@\"
#define MARAVEL_BUILD_REVISION_NUMBER @revision@
#define MARAVEL_BUILD_COMMIT \"@commit@\"
#define MARAVEL_BUILD_DATE @date@
#define MARAVEL_VERSION_MAJOR @MAJOR@
#define MARAVEL_VERSION_MINOR @MINOR@
#define MARAVEL_VERSION_PATCH @PATCH@
")
