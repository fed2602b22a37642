# What is Debian's in the packages of QbxPackage.cmake.
set(package_of_module qbx-drivecage-provider)
set(package_of_toolkit libqbx-common-dev)
set(package_of_standin qbx-cimserver)
set(package_of_enclosure qbx-enclosure)

set(settings /etc/default/qbx-cimserver)
set(readme /usr/share/doc/qbx-cimserver/README.Debian)
set(start_service "systemctl restart qbx-cimserver")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# libqbxapi and, where it is no package, OpenPegasus are not among the dependencies.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
if(PEGASUS_HOME)
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PEGASUS_HOME}/lib)
endif()
set(CPACK_DEBIAN_MODULE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_MODULE_PACKAGE_DEPENDS "python3:any")
set(CPACK_DEBIAN_TOOLKIT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOLKIT_PACKAGE_DEPENDS "libstdc++-12-dev | libstdc++-dev")
set(CPACK_DEBIAN_STANDIN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_STANDIN_PACKAGE_DEPENDS "adduser, init-system-helpers (>= 1.51)")
set(CPACK_DEBIAN_ENCLOSURE_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_ENCLOSURE_PACKAGE_DEPENDS
  "adduser, init-system-helpers (>= 1.51), python3:any, python3-jinja2, python3-prometheus-client, python3-rich")
set(CPACK_DEBIAN_ENCLOSURE_PACKAGE_RECOMMENDS "python3-bcrypt, python3-yaml")

# The licence as Debian's machine-readable copyright file.
file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)" holder "${license}")
set(holder "${CMAKE_MATCH_1}")
string(REGEX REPLACE "^.*Copyright[^\n]*\n+" "" license "${license}")
string(STRIP "${license}" license)
string(REPLACE "\n\n" "\n.\n" license "${license}")
string(REPLACE "\n" "\n " license "${license}")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

find_program(GZIP gzip REQUIRED)
foreach(component ${CPACK_COMPONENTS_ALL})
  set(package ${package_of_${component}})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary_of_${component}}\n${description_of_${component}}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(folder ${PROJECT_BINARY_DIR}/Deploy/${package})
  file(WRITE ${folder}/changelog "${package} (${PROJECT_VERSION}) unstable; urgency=low

  * See CHANGELOG.md of the sources.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  execute_process(COMMAND ${GZIP} -9nf ${folder}/changelog)
  file(WRITE ${folder}/copyright "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/

Files: *
Copyright: ${holder}
License: Expat

License: Expat
 ${license}
")
  install(FILES ${folder}/copyright ${folder}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  file(WRITE ${folder}/lintian-overrides
    "# The builder says who maintains the packages: -DQBX_PACKAGE_CONTACT=...\n"
    "${package}: bogus-mail-host *\n${package}: bogus-mail-host-in-debian-changelog *\n")
  install(FILES ${folder}/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
    RENAME ${package} COMPONENT ${component})
  set(scripts)
  foreach(script preinst postinst prerm postrm conffiles)
    if(EXISTS ${PROJECT_SOURCE_DIR}/Deploy/${package}/deb/${script})
      qbx_configure_script(${package} deb/${script} ${folder}/${script})
      list(APPEND scripts ${folder}/${script})
    endif()
  endforeach()
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA "${scripts}")
endforeach()
