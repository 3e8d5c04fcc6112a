# The Debian packages, by CPack. What is the same in every package stands here; scripts/release gives the full version.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME maravel-adapter-zorvik)
set(CPACK_PACKAGE_VENDOR maravel)
set(CPACK_PACKAGE_CONTACT "maravel maintainers <maintainers@maravel.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_COMPONENTS_ALL adapter developer)
if(MARAVEL_ARAVIS)
  list(APPEND CPACK_COMPONENTS_ALL aravis)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON) # which strips too
set(CPACK_DEBIAN_ADAPTER_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_ARAVIS_DEBUGINFO_PACKAGE ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_BUILD_SOURCE_DIRS ${CMAKE_SOURCE_DIR})

set(about "The adapter is a library that a machine-vision host loads to acquire images\nfrom industrial cameras (GigE Vision, USB3 Vision) through an SDK folder.")
set(CPACK_DEBIAN_ADAPTER_PACKAGE_NAME maravel-adapter-zorvik)
set(CPACK_DEBIAN_ADAPTER_PACKAGE_SECTION science)
set(CPACK_DEBIAN_ADAPTER_DESCRIPTION "image-acquisition adapter with simulated cameras\n${about}\n.\nWith camhost, a host for the command line, and an SDK folder of\nsimulated cameras.")
set(CPACK_DEBIAN_DEVELOPER_PACKAGE_NAME maravel-adapter-zorvik-dev)
set(CPACK_DEBIAN_DEVELOPER_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPER_DESCRIPTION "header and example for hosts of the image-acquisition adapter\n${about}\n.\nWhat a developer of hosts needs: the header, packages for CMake and\npkg-config, and an example.")
set(CPACK_DEBIAN_ARAVIS_PACKAGE_NAME maravel-adapter-zorvik-aravis)
set(CPACK_DEBIAN_ARAVIS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_ARAVIS_DESCRIPTION "real cameras for the image-acquisition adapter\n${about}\n.\nAn SDK folder with the cameras that Aravis reaches, and access to USB3 Vision\ncameras for who is logged in.")

# What Debian asks of every package. The version of the others is this one's own: CPack knows it when it packs.
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/PackageVersions.cmake)
file(CONFIGURE OUTPUT ${CPACK_PROJECT_CONFIG_FILE} @ONLY CONTENT [[
foreach(component DEVELOPER ARAVIS)
  set(CPACK_DEBIAN_${component}_PACKAGE_DEPENDS
    "maravel-adapter-zorvik (= ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
endforeach()
]])
configure_file(packaging/debian/copyright.in debian/copyright @ONLY)
foreach(pair adapter:maravel-adapter-zorvik developer:maravel-adapter-zorvik-dev aravis:maravel-adapter-zorvik-aravis)
  string(REGEX MATCH "(.*):(.*)" pair ${pair})
  install(FILES ${CMAKE_BINARY_DIR}/debian/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CMAKE_MATCH_2}
    COMPONENT ${CMAKE_MATCH_1} EXCLUDE_FROM_ALL)
  install(FILES ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz OPTIONAL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CMAKE_MATCH_2} COMPONENT ${CMAKE_MATCH_1} EXCLUDE_FROM_ALL)
endforeach()
include(CPack)
