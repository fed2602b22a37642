# What is that of RPM's distributions in the packages of QbxPackage.cmake; built with
# CMAKE_INSTALL_LIBDIR=lib64.
set(package_of_module qbx-drivecage-provider)
set(package_of_toolkit qbx-common-devel)
set(package_of_standin qbx-cimserver)
set(package_of_enclosure qbx-enclosure)

set(settings /etc/sysconfig/qbx-cimserver)
set(readme /usr/share/doc/qbx-cimserver/README)
set(start_service "systemctl enable --now qbx-cimserver")
set(after_removal "
Removing the package leaves the user qbx-cimserver, /etc/qbx-cimserver and /var/lib/qbx-cimserver.")

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_PACKAGE_VENDOR "QBX provider authors")
set(CPACK_RPM_PACKAGE_GROUP "System Environment/Daemons")
set(CPACK_RPM_TOOLKIT_PACKAGE_GROUP "Development/Libraries")
set(CPACK_RPM_ENCLOSURE_PACKAGE_GROUP "Applications/System")
set(CPACK_RPM_PACKAGE_RELEASE_DIST ON)

# Beside the libraries, which rpmbuild finds. libqbxapi is the array's, and no package.
set(CPACK_RPM_MODULE_PACKAGE_REQUIRES "/usr/bin/python3, python3 >= 3.10")
set(CPACK_RPM_TOOLKIT_PACKAGE_REQUIRES "gcc-c++")
set(CPACK_RPM_STANDIN_PACKAGE_REQUIRES_PRE "/usr/bin/getent, /usr/sbin/groupadd, /usr/sbin/useradd")
set(CPACK_RPM_ENCLOSURE_PACKAGE_ARCHITECTURE noarch)
set(CPACK_RPM_ENCLOSURE_PACKAGE_REQUIRES "/usr/bin/python3, python3 >= 3.11, python3dist(bcrypt), \
python3dist(jinja2), python3dist(prometheus-client), python3dist(pyyaml), python3dist(rich)")
set(CPACK_RPM_ENCLOSURE_PACKAGE_REQUIRES_PRE "/usr/bin/getent, /usr/sbin/groupadd, /usr/sbin/useradd")
set(CPACK_RPM_SPEC_INSTALL_POST /bin/true)  # all is as it shall be
set(CPACK_RPM_SPEC_MORE_DEFINE "
%global packager ${CPACK_PACKAGE_CONTACT}
%global debug_package %{nil}
%global _build_id_links none
%global __requires_exclude ^lib(qbxapi|cimom)\\\\.so
%global __provides_exclude_from ^/usr/${CMAKE_INSTALL_LIBDIR}/qbx
%global use_source_date_epoch_as_buildtime 1
%global clamp_mtime_to_source_date_epoch 1
%global _buildhost localhost")

string(TIMESTAMP date "%a %b %d %Y" UTC)
set(CPACK_RPM_CHANGELOG_FILE ${PROJECT_BINARY_DIR}/package/changelog)
file(WRITE ${CPACK_RPM_CHANGELOG_FILE}
  "* ${date} ${CPACK_PACKAGE_CONTACT} - ${PROJECT_VERSION}-1\n- See CHANGELOG.md of the sources.\n")

set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /etc/sysconfig /usr/lib/systemd /usr/lib/systemd/system
  /usr/sbin /usr/share/bash-completion /usr/share/bash-completion/completions /usr/share/licenses
  /usr/share/man /usr/share/man/man1 /usr/share/man/man8 /usr/lib64/cmake /usr/lib64/pkgconfig)
foreach(component ${CPACK_COMPONENTS_ALL})
  set(package ${package_of_${component}})
  string(TOUPPER ${component} upper)
  set(CPACK_RPM_${upper}_PACKAGE_NAME ${package})
  string(SUBSTRING "${summary_of_${component}}" 0 1 initial)
  string(TOUPPER ${initial} initial)
  string(REGEX REPLACE "^." "${initial}" summary "${summary_of_${component}}")
  set(CPACK_RPM_${upper}_PACKAGE_SUMMARY "${summary}")
  set(CPACK_RPM_${upper}_PACKAGE_DESCRIPTION "${description_of_${component}}")
  set(license ${CMAKE_INSTALL_DATADIR}/licenses/${package})
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${license} COMPONENT ${component})
  set(CPACK_RPM_${upper}_USER_FILELIST "%license /usr/${license}/LICENSE")
  foreach(script PRE_INSTALL=pre POST_INSTALL=post PRE_UNINSTALL=preun POST_UNINSTALL=postun)
    string(REPLACE "=" ";" script ${script})
    list(GET script 1 name)
    if(EXISTS ${PROJECT_SOURCE_DIR}/Deploy/${package}/rpm/${name})
      set(file ${PROJECT_BINARY_DIR}/Deploy/${package}/${name})
      qbx_configure_script(${package} rpm/${name} ${file})
      list(GET script 0 time)
      set(CPACK_RPM_${upper}_${time}_SCRIPT_FILE ${file})
    endif()
  endforeach()
endforeach()
list(APPEND CPACK_RPM_STANDIN_USER_FILELIST "%config(noreplace) ${settings}" "%doc ${readme}")
list(APPEND CPACK_RPM_ENCLOSURE_USER_FILELIST "%config(noreplace) /etc/sysconfig/qbx-enclosure-exporter")
