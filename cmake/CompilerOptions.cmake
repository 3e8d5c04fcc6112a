# maravel_options: what every target of ours is compiled with.
add_library(maravel_options INTERFACE)
target_compile_features(maravel_options INTERFACE cxx_std_20)
target_include_directories(maravel_options INTERFACE ${CMAKE_SOURCE_DIR}/include)

if(MSVC)
  target_compile_options(maravel_options INTERFACE /W4 /WX /utf-8 /permissive-)
  target_compile_definitions(maravel_options INTERFACE _CRT_SECURE_NO_WARNINGS NOMINMAX WIN32_LEAN_AND_MEAN)
else()
  target_compile_options(maravel_options INTERFACE
    -Wall -Wextra -Werror -Wconversion -Wshadow -Wformat=2 -Wno-format-nonliteral -Wundef
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual>)
endif()

# GCC 12 sees overlapping copies in std::string where there are none (GCC bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(maravel_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()

# The same source gives the same bits in any folder, under a compiler cache that makes paths relative too.
if(NOT MSVC AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  file(RELATIVE_PATH up ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
  string(REGEX REPLACE "/$" "" up "${up}")
  target_compile_options(maravel_options INTERFACE
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${up}=. -ffile-prefix-map=${CMAKE_BINARY_DIR}/=)
endif()

if(WIN32 AND NOT MSVC)
  # Nothing but system DLLs beside our files; the hardening flags are the linker's to set.
  target_link_options(maravel_options INTERFACE
    -static -static-libgcc -static-libstdc++
    -Wl,--no-insert-timestamp -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va)
  target_compile_definitions(maravel_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
endif()

if(UNIX)
  # A unique symbol pins a shared library in memory, and its exit routine would never run.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(maravel_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
  endif()
  target_link_libraries(maravel_options INTERFACE Threads::Threads ${CMAKE_DL_LIBS})
  find_package(Threads REQUIRED)
endif()

if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(maravel_options INTERFACE -Wthread-safety -Werror=thread-safety)
endif()

if(MARAVEL_SANITIZE)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU") # it cannot follow the sanitizers' instrumentation
    target_compile_options(maravel_options INTERFACE -Wno-maybe-uninitialized)
  endif()
  add_compile_options(-fsanitize=${MARAVEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${MARAVEL_SANITIZE})
endif()

# For code of which the compiler takes longer than it ever runs. The linker of MinGW (binutils 2.40) searches all
# symbols of an object for each inline function, of which unoptimised code keeps thousands.
if(MSVC)
  set(MARAVEL_UNOPTIMISED /Od)
elseif(WIN32)
  set(MARAVEL_UNOPTIMISED -O1 -g1)
else()
  set(MARAVEL_UNOPTIMISED -O0)
endif()
# The same for tests, and for files that are mostly a library's templates: there the checks for undefined behaviour are
# a third of the compiling, and not of our code.
set(MARAVEL_TEMPLATES ${MARAVEL_UNOPTIMISED})
if(MARAVEL_SANITIZE MATCHES "undefined")
  list(APPEND MARAVEL_TEMPLATES -fno-sanitize=undefined)
endif()

# The two libraries of an SDK folder carry their Windows names on every system.
function(maravel_sdk_library target name)
  set_target_properties(${target} PROPERTIES
    PREFIX "" SUFFIX ".dll" OUTPUT_NAME ${name} IMPORT_SUFFIX ".dll.a"
    RUNTIME_OUTPUT_DIRECTORY ${MARAVEL_SDK_DIR}/bin
    LIBRARY_OUTPUT_DIRECTORY ${MARAVEL_SDK_DIR}/bin
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
endfunction()
