# The packages that `./qbx package` makes. Each is an install component:
#   of a build for OpenPegasus       module (qbx-drivecage-provider), toolkit (libqbx-common-dev)
#   of a build for the embedded one  standin (qbx-cimserver), enclosure (qbx-enclosure)
# What is in them and what is said of them stands here, for each format what only that one has: the
# names, places and dependencies of its distributions in QbxPackageDEB.cmake and QbxPackageRPM.cmake.
# Build with CMAKE_INSTALL_PREFIX=/usr: some paths are compiled in.
set(QBX_PACKAGE_FORMAT DEB CACHE STRING "Format of the packages: DEB or RPM")
set_property(CACHE QBX_PACKAGE_FORMAT PROPERTY STRINGS DEB RPM)
set(QBX_PACKAGE_CONTACT "QBX provider authors <qbx@localhost>" CACHE STRING "Maintainer of the packages")

set(summary_of_module "drive cage provider module for the OpenPegasus CIM server")
set(description_of_module
"The drive cages of an array, with their interface cards, magazines and
sensors, for clients of a CIM server. It needs a running OpenPegasus 2.14 and
the array's own library libqbxapi.so, which is no package. The command
qbx-provider installs the module into the server.")

set(summary_of_toolkit "toolkit for provider modules of the array (OpenPegasus)")
set(description_of_toolkit
"The static library QBX_Common with its headers and its CMake and pkg-config
packages: what the array's provider modules have in common. Built for the
CIM library of OpenPegasus 2.14, whose development files it needs.")

set(summary_of_standin "small CIM server with the drive cage module, on a simulated array")
set(description_of_standin
"A CIM-XML server that needs no OpenPegasus, with the drive cage provider
module and a simulated array described in a JSON file: for trying the module
and for writing clients. It does not manage hardware.")

set(summary_of_enclosure "shows, checks and operates the drive cages of an array")
set(description_of_enclosure
"Asks a CIM server that runs the drive cage provider module, on this machine
or another: what is there, what is wrong, and the actions that the array
offers, for people at a terminal and for monitoring. Its service
qbx-enclosure-exporter serves metrics of many arrays to Prometheus.")

if(QBX_CIM STREQUAL "embedded")
  set(CPACK_COMPONENTS_ALL standin enclosure)
else()
  set(CPACK_COMPONENTS_ALL module toolkit)
endif()

# A package is the same whenever it is built of the same sources: its times are those of the last commit.
set(epoch $ENV{SOURCE_DATE_EPOCH})
if(NOT epoch)
  execute_process(COMMAND git log -1 --format=%ct WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT epoch)  # not a clone
  file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md epoch %s)
endif()
set(ENV{SOURCE_DATE_EPOCH} ${epoch})  # for string(TIMESTAMP) too
qbx_configure_file(package_times.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/package/package_times.cmake)

set(CPACK_GENERATOR ${QBX_PACKAGE_FORMAT})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_RELOCATABLE OFF)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "${QBX_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own

# A file of Deploy/PACKAGE as that of the package, `output`. The fragments *.sh beside it are what
# scripts of both formats do: @NAME@ stands for NAME.sh.
function(qbx_configure_script package name output)
  file(GLOB fragments ${PROJECT_SOURCE_DIR}/Deploy/${package}/*.sh)
  foreach(fragment ${fragments})
    get_filename_component(variable ${fragment} NAME_WE)
    file(READ ${fragment} ${variable})
    string(REGEX REPLACE "^# shellcheck[^\n]*\n|\n$" "" ${variable} "${${variable}}")
  endforeach()
  configure_file(${PROJECT_SOURCE_DIR}/Deploy/${package}/${name} ${output} @ONLY)
endfunction()

include(QbxPackage${QBX_PACKAGE_FORMAT})

# The service of the embedded server.
if(QBX_CIM STREQUAL "embedded")
  qbx_configure_file(qbx-cimserver.service)
  install(FILES ${PROJECT_BINARY_DIR}/package/qbx-cimserver.service
    DESTINATION lib/systemd/system COMPONENT standin)
  get_filename_component(folder ${settings} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/Deploy/qbx-cimserver/settings
    DESTINATION ${folder} RENAME qbx-cimserver COMPONENT standin)
  get_filename_component(folder ${readme} DIRECTORY)
  get_filename_component(name ${readme} NAME)
  qbx_configure_script(qbx-cimserver README.in ${PROJECT_BINARY_DIR}/package/${name})
  install(FILES ${PROJECT_BINARY_DIR}/package/${name} DESTINATION ${folder} COMPONENT standin)
endif()

# The service of the exporter, which is not enabled: this is a program for people too.
if(QBX_CIM STREQUAL "embedded")
  get_filename_component(folder ${settings} DIRECTORY)
  set(exporter_settings ${folder}/qbx-enclosure-exporter)
  qbx_configure_file(qbx-enclosure-exporter.service)
  install(FILES ${PROJECT_BINARY_DIR}/package/qbx-enclosure-exporter.service
    DESTINATION lib/systemd/system COMPONENT enclosure)
  install(FILES ${PROJECT_SOURCE_DIR}/Deploy/qbx-enclosure/settings
    DESTINATION ${folder} RENAME qbx-enclosure-exporter COMPONENT enclosure)
  install(DIRECTORY DESTINATION /etc/qbx-enclosure COMPONENT enclosure)
endif()

# Manual pages are compressed.
find_program(GZIP gzip REQUIRED)
foreach(component ${CPACK_COMPONENTS_ALL})
  install(CODE "file(GLOB pages \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man*/qbx-*.[18])
    foreach(page \${pages})
      execute_process(COMMAND ${GZIP} -9nf \${page})
    endforeach()" COMPONENT ${component})
endforeach()

# The packaged program takes the system's Python, with the modules that the package depends on.
install(CODE "execute_process(COMMAND sed -i \"1s|/usr/bin/env python3|/usr/bin/python3|\"
    \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/qbx/enclosure/qbx-enclosure)"
  COMPONENT enclosure)
include(CPack)
