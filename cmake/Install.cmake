# What an installation holds. Three components on every system (what runs, the simulated cameras, what developers of
# hosts need), and the cameras behind Aravis on Linux.
include(CMakePackageConfigHelpers)

if(WIN32)
  set(simulator simulator) # a person chooses; a Linux machine always has something to try with
else()
  set(simulator adapter)
endif()

# What runs.
install(TARGETS MaravelAdapterZorvik
  LIBRARY DESTINATION ${MARAVEL_MODULE_FOLDER} COMPONENT adapter
  RUNTIME DESTINATION ${MARAVEL_MODULE_FOLDER} COMPONENT adapter)
install(TARGETS camhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT adapter)
install(FILES README.md CHANGELOG.md packaging/THIRD-PARTY.md DESTINATION ${MARAVEL_DOCUMENT_FOLDER} COMPONENT adapter)
install(DIRECTORY docs/ DESTINATION ${MARAVEL_DOCUMENT_FOLDER}/docs COMPONENT adapter)
if(NOT CMAKE_CROSSCOMPILING)
  set(pages ${CMAKE_BINARY_DIR}/pages)
  file(MAKE_DIRECTORY ${pages})
  add_custom_command(OUTPUT ${pages}/camhost.1.gz ${pages}/camhost.bash ${pages}/maravel_log.json
    COMMAND camhost --page man >${pages}/camhost.1
    COMMAND gzip -9nf ${pages}/camhost.1
    COMMAND camhost --page bash-completion >${pages}/camhost.bash
    COMMAND camhost log --lnav >${pages}/maravel_log.json
    DEPENDS camhost)
  add_custom_target(camhost_pages ALL DEPENDS ${pages}/camhost.1.gz)
  install(FILES ${pages}/camhost.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT adapter)
  install(FILES ${pages}/camhost.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME camhost COMPONENT adapter)
  install(FILES ${pages}/maravel_log.json DESTINATION ${MARAVEL_SHARED_FOLDER}/lnav COMPONENT adapter)
endif()
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  install(FILES packaging/debian/70-usb3-vision.rules DESTINATION lib/udev/rules.d COMPONENT aravis)
endif()

# The simulated cameras.
install(TARGETS ZvkC ZvkImageTransform
  LIBRARY DESTINATION ${MARAVEL_SIMULATED_FOLDER}/bin COMPONENT ${simulator}
  RUNTIME DESTINATION ${MARAVEL_SIMULATED_FOLDER}/bin COMPONENT ${simulator})
install(FILES backends/simulated/cameras.toml DESTINATION ${MARAVEL_SIMULATED_FOLDER} COMPONENT ${simulator})

# The cameras behind Aravis. Both SDK folders have the same image-transform library.
if(MARAVEL_ARAVIS)
  set(folder ${MARAVEL_MODULE_FOLDER}/sdk-aravis/bin)
  install(TARGETS ZvkCAravis LIBRARY DESTINATION ${folder} COMPONENT aravis)
  install(CODE "
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${folder}\")
    file(MAKE_DIRECTORY \${folder})
    file(CREATE_LINK ../../sdk-simulated/bin/ZvkImageTransform.dll \${folder}/ZvkImageTransform.dll SYMBOLIC)"
    COMPONENT aravis)
endif()

# For developers of hosts: the header, the packages of CMake and pkg-config, README's program.
add_library(maravel_videochannel INTERFACE)
set_target_properties(maravel_videochannel PROPERTIES EXPORT_NAME VideoChannel)
target_include_directories(maravel_videochannel INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS maravel_videochannel EXPORT MaravelAdapterTargets)
install(FILES include/maravel/VideoChannel.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/maravel COMPONENT developer)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/MaravelAdapter)
install(EXPORT MaravelAdapterTargets NAMESPACE Maravel:: DESTINATION ${package} COMPONENT developer)
get_target_property(suffix MaravelAdapterZorvik SUFFIX)
set(MODULE ${MARAVEL_MODULE_FOLDER}/MaravelAdapterZorvik${suffix})
configure_package_config_file(packaging/MaravelAdapterConfig.cmake.in MaravelAdapterConfig.cmake
  INSTALL_DESTINATION ${package} PATH_VARS MODULE)
write_basic_package_version_file(MaravelAdapterConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/MaravelAdapterConfig.cmake ${CMAKE_BINARY_DIR}/MaravelAdapterConfigVersion.cmake
  DESTINATION ${package} COMPONENT developer)
file(RELATIVE_PATH UP_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(packaging/maravel-adapter.pc.in maravel-adapter.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/maravel-adapter.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT developer)
file(READ README.md readme)
string(REGEX MATCH "```c\n(.*)\n```\n\nFor Windows" found "${readme}")
if(NOT found)
  message(FATAL_ERROR "README.md has no program in C where one is looked for.")
endif()
file(WRITE ${CMAKE_BINARY_DIR}/host.c "${CMAKE_MATCH_1}\n")
install(FILES ${CMAKE_BINARY_DIR}/host.c packaging/example/CMakeLists.txt DESTINATION ${MARAVEL_EXAMPLE_FOLDER}
  COMPONENT developer)
