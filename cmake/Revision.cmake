# The build revision is the number of commits; a log from a factory names it, so it is taken anew at
# every build and not only when CMake configures.
set(MARAVEL_REVISION_HEADER ${CMAKE_BINARY_DIR}/generated/Revision.h)
set(MARAVEL_REVISION "" CACHE STRING "The build revision, where the sources have no history to count")
find_package(Git QUIET)
add_custom_target(maravel_revision
  BYPRODUCTS ${MARAVEL_REVISION_HEADER}
  COMMAND ${CMAKE_COMMAND} -DGIT=${GIT_EXECUTABLE} -DSOURCE=${CMAKE_SOURCE_DIR}
    -DMAJOR=${PROJECT_VERSION_MAJOR} -DMINOR=${PROJECT_VERSION_MINOR} -DPATCH=${PROJECT_VERSION_PATCH}
    -DGIVEN_REVISION=${MARAVEL_REVISION} -DHEADER=${MARAVEL_REVISION_HEADER} -P ${CMAKE_SOURCE_DIR}/cmake/WriteRevision.cmake
  COMMENT "Looking up the build revision")
