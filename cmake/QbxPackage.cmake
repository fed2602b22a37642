# Debian packages, what `./qbx package` makes. Each is an install component:
#   of a build for OpenPegasus       module -> qbx-drivecage-provider, toolkit -> libqbx-common-dev
#   of a build for the embedded one  standin -> qbx-cimserver, enclosure -> qbx-enclosure
# Build with CMAKE_INSTALL_PREFIX=/usr: some paths are compiled in.
set(packages_of_module qbx-drivecage-provider)
set(packages_of_toolkit libqbx-common-dev)
set(packages_of_standin qbx-cimserver)
set(packages_of_enclosure qbx-enclosure)
if(QBX_CIM STREQUAL "embedded")
  set(CPACK_COMPONENTS_ALL standin)
  if(EXISTS ${PROJECT_SOURCE_DIR}/Enclosure)
    list(APPEND CPACK_COMPONENTS_ALL enclosure)
  endif()
else()
  set(CPACK_COMPONENTS_ALL module toolkit)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(QBX_PACKAGE_CONTACT "QBX provider authors <qbx@localhost>" CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGE_CONTACT "${QBX_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_MODULE_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_MODULE_DESCRIPTION "drive cage provider module for the OpenPegasus CIM server
 The drive cages of an array, with their interface cards, magazines and
 sensors, for clients of a CIM server. It needs a running OpenPegasus 2.14 and
 the array's own library libqbxapi.so, which are not packages of Debian. The
 command qbx-provider installs the module into the server.")
# libpegcommon and libqbxapi are not packaged: the others are what the module is linked to.
set(CPACK_DEBIAN_MODULE_PACKAGE_DEPENDS "libc6 (>= 2.34), libgcc-s1, libstdc++6 (>= 12), python3:any")

set(CPACK_DEBIAN_TOOLKIT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOLKIT_DESCRIPTION "toolkit for provider modules of the array (OpenPegasus)
 The static library QBX_Common with its headers and its CMake and pkg-config
 packages: what the array's provider modules have in common. Built for the
 CIM library of OpenPegasus 2.14, whose development files it needs.")
set(CPACK_DEBIAN_TOOLKIT_PACKAGE_DEPENDS "libstdc++-12-dev")

set(CPACK_DEBIAN_STANDIN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_STANDIN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_STANDIN_PACKAGE_DEPENDS "adduser, init-system-helpers (>= 1.51)")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_STANDIN_DESCRIPTION "small CIM server with the drive cage module, on a simulated array
 A CIM-XML server that needs no OpenPegasus, with the drive cage provider
 module and a simulated array described in a JSON file: for trying the module
 and for writing clients. It does not manage hardware.")

set(CPACK_DEBIAN_ENCLOSURE_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_ENCLOSURE_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_ENCLOSURE_PACKAGE_DEPENDS
  "python3:any, python3-jinja2, python3-prometheus-client, python3-rich")
set(CPACK_DEBIAN_ENCLOSURE_PACKAGE_RECOMMENDS "python3-pip")
set(CPACK_DEBIAN_ENCLOSURE_DESCRIPTION "shows, checks and operates the drive cages of an array
 Asks a CIM server that runs the drive cage provider module, on this machine
 or another: what is there, what is wrong, and the actions that the array
 offers, for people at a terminal and for monitoring. It needs pywbem, which
 Debian does not have: pip installs it.")

# Documentation that every Debian package has, and the files for its control archive.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
find_program(GZIP gzip REQUIRED)
foreach(component ${CPACK_COMPONENTS_ALL})
  set(package ${packages_of_${component}})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(folder ${PROJECT_BINARY_DIR}/debian/${package})
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/${package})
  file(WRITE ${folder}/changelog "${package} (${PROJECT_VERSION}) unstable; urgency=low

  * See CHANGELOG.md of the sources.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  configure_file(${PROJECT_SOURCE_DIR}/LICENSE ${folder}/copyright COPYONLY)
  execute_process(COMMAND ${GZIP} -9nf ${folder}/changelog)
  install(FILES ${folder}/copyright ${folder}/changelog.gz DESTINATION ${documents} COMPONENT ${component})
  set(sources ${PROJECT_SOURCE_DIR}/Deploy/${package})
  if(EXISTS ${sources}/README.Debian)
    install(FILES ${sources}/README.Debian DESTINATION ${documents} COMPONENT ${component})
  endif()
  install(CODE "file(GLOB pages \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man*/qbx-*.[18])
    foreach(page \${pages})
      execute_process(COMMAND ${GZIP} -9nf \${page})
    endforeach()" COMPONENT ${component})
  file(WRITE ${folder}/lintian-overrides
    "# The builder says who maintains the packages: -DQBX_PACKAGE_CONTACT=...\n"
    "${package}: bogus-mail-host *\n${package}: bogus-mail-host-in-debian-changelog *\n")
  install(FILES ${folder}/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
    RENAME ${package} COMPONENT ${component})
  set(scripts)
  foreach(script preinst postinst prerm postrm conffiles)
    if(EXISTS ${sources}/${script})
      list(APPEND scripts ${sources}/${script})
    endif()
  endforeach()
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA "${scripts}")
endforeach()
include(CPack)
