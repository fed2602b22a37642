# What `cmake --install` installs, by component:
#   module   the provider module, its schema and its registration, and qbx-provider to install it
#   toolkit  QBX_Common for other provider modules: library, headers, CMake and pkg-config package
#   enclosure  qbx-enclosure, the administrator's program, in Python
#   standin  the embedded object manager and the simulated array, with the module and its data; its
#            libraries are where no loader looks by itself, so that nothing else ever takes them
#   standin_dev  headers of the embedded CIM library, and its CMake and pkg-config packages
# The toolkit needs a CIM library: of the stand-in, or of OpenPegasus, whichever it was built with.
include(CMakePackageConfigHelpers)

set(toolkit_include ${CMAKE_INSTALL_INCLUDEDIR}/qbx)
set(cimom_include ${CMAKE_INSTALL_INCLUDEDIR}/qbx-cimom)
set(toolkit_cmake ${CMAKE_INSTALL_LIBDIR}/cmake/QBXCommon)
set(toolkit_pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(standin_lib ${CMAKE_INSTALL_LIBDIR}/qbx-cimserver)
set(standin_data ${CMAKE_INSTALL_DATADIR}/qbx-cimserver)
set(schema ${PROJECT_BINARY_DIR}/Schema)

# A template of this folder, as a file of the build folder.
function(qbx_configure_file name)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.in ${PROJECT_BINARY_DIR}/package/${name} @ONLY)
endfunction()

# A program in Python: its script and its package of the folder `source` go to `folder`, a link to the
# script to `bin`. The package's file `generated` comes from a template.
function(qbx_install_python program source folder bin generated component)
  string(REPLACE "-" "_" package ${program})
  install(PROGRAMS ${source}/${program} DESTINATION ${folder} COMPONENT ${component})
  install(DIRECTORY ${source}/${package} DESTINATION ${folder} COMPONENT ${component}
    PATTERN __pycache__ EXCLUDE PATTERN ${generated} EXCLUDE)
  qbx_configure_file(${generated})
  install(FILES ${PROJECT_BINARY_DIR}/package/${generated} DESTINATION ${folder}/${package}
    COMPONENT ${component})
  file(RELATIVE_PATH bin_to_folder /prefix/${bin} /prefix/${folder})
  file(CREATE_LINK ${bin_to_folder}/${program} ${PROJECT_BINARY_DIR}/package/${program} SYMBOLIC)
  install(FILES ${PROJECT_BINARY_DIR}/package/${program} DESTINATION ${bin} COMPONENT ${component})
endfunction()

# ---- module ----

install(TARGETS QBX_DriveCageProvider
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/qbx COMPONENT module)
set(provider ${CMAKE_INSTALL_DATADIR}/qbx/provider)
file(RELATIVE_PATH provider_to_libraries /prefix/${provider}/qbx_provider
  /prefix/${CMAKE_INSTALL_LIBDIR}/qbx)
file(RELATIVE_PATH provider_to_schema /prefix/${provider}/qbx_provider
  /prefix/${CMAKE_INSTALL_DATADIR}/qbx/schema)
qbx_install_python(qbx-provider ${PROJECT_SOURCE_DIR}/Deploy ${provider} ${CMAKE_INSTALL_SBINDIR}
  package.py module)
install(FILES ${PROJECT_SOURCE_DIR}/Docs/qbx-provider.8
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT module)
# A server that carries the DMTF schema must not load the first four.
set(standin_schema ${schema}/qbx.mof ${schema}/qualifiers.mof ${schema}/base.mof
  ${schema}/system-instances.mof)
file(GLOB module_schema RELATIVE ${PROJECT_SOURCE_DIR}/Schema ${PROJECT_SOURCE_DIR}/Schema/*.mof)
list(TRANSFORM module_schema PREPEND ${schema}/)
list(REMOVE_ITEM module_schema ${standin_schema})
install(FILES ${module_schema} ${schema}/system-instances.mof ${schema}/manifest.json
  DESTINATION ${CMAKE_INSTALL_DATADIR}/qbx/schema COMPONENT module)

# ---- toolkit ----

target_include_directories(QBX_Common INTERFACE $<INSTALL_INTERFACE:${toolkit_include}>)
install(TARGETS QBX_Common EXPORT QBXCommonTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT toolkit)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Providers/QBX/ DESTINATION ${toolkit_include} COMPONENT toolkit
  FILES_MATCHING PATTERN "*.h" PATTERN Cage EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/StorageApi/include/qbxapi.h
  DESTINATION ${toolkit_include} COMPONENT toolkit)

install(EXPORT QBXCommonTargets NAMESPACE QBX:: DESTINATION ${toolkit_cmake} COMPONENT toolkit)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QBXCommonConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/QBXCommonConfig.cmake INSTALL_DESTINATION ${toolkit_cmake})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/QBXCommonConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/package/QBXCommonConfig.cmake
  ${PROJECT_BINARY_DIR}/package/QBXCommonConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/QbxManifest.cmake
  ${PROJECT_SOURCE_DIR}/cmake/QbxPegasus.cmake
  DESTINATION ${toolkit_cmake} COMPONENT toolkit)

file(RELATIVE_PATH pkgconfig_to_prefix /prefix/${toolkit_pkgconfig} /prefix)
string(REGEX REPLACE "/$" "" pkgconfig_to_prefix "${pkgconfig_to_prefix}")
if(QBX_CIM STREQUAL "embedded")
  set(pkgconfig_requires qbx-cimom)
else()
  qbx_pegasus_headers(pegasus_headers)
  set(pkgconfig_variables "pegasus_headers=${pegasus_headers}\npegasus_home=${PEGASUS_HOME}\n")
  set(pkgconfig_cim_cflags "-isystem \${pegasus_headers} -DPEGASUS_PLATFORM_LINUX_X86_64_GNU")
  set(pkgconfig_cim_libs "-L\${pegasus_home}/lib -lpegclient -lpegprovider -lpegcommon")
endif()
qbx_configure_file(qbx-common.pc)
install(FILES ${PROJECT_BINARY_DIR}/package/qbx-common.pc DESTINATION ${toolkit_pkgconfig} COMPONENT toolkit)

# ---- enclosure ----

set(enclosure_data ${CMAKE_INSTALL_DATADIR}/qbx/enclosure)
qbx_install_python(qbx-enclosure ${PROJECT_SOURCE_DIR}/Enclosure ${enclosure_data} ${CMAKE_INSTALL_BINDIR}
  version.py enclosure)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Enclosure/monitoring DESTINATION ${enclosure_data}
  COMPONENT enclosure)
install(FILES ${PROJECT_SOURCE_DIR}/Enclosure/completion/qbx-enclosure
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT enclosure)
install(FILES ${PROJECT_SOURCE_DIR}/Docs/qbx-enclosure.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
  COMPONENT enclosure)

# ---- standin ----

if(QBX_STORAGE_API STREQUAL "simulator")
  set(simulator ${PROJECT_SOURCE_DIR}/StorageApi/simulator)
  install(TARGETS qbxapi LIBRARY DESTINATION ${standin_lib} COMPONENT standin)
  install(FILES ${simulator}/sample-array.json ${simulator}/sample-firmware.json
      ${simulator}/array.schema.json
    DESTINATION ${CMAKE_INSTALL_DATADIR}/qbx COMPONENT standin)
endif()

if(QBX_CIM STREQUAL "embedded")
  target_include_directories(cimom INTERFACE $<INSTALL_INTERFACE:${cimom_include}>)
  install(TARGETS cimom EXPORT QBXCimomTargets
    LIBRARY DESTINATION ${standin_lib} COMPONENT standin)
  install(TARGETS QBX_DriveCageProvider LIBRARY DESTINATION ${standin_lib} COMPONENT standin)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/Cimom/include/
    DESTINATION ${cimom_include} COMPONENT standin_dev)
  install(EXPORT QBXCimomTargets NAMESPACE QBX:: DESTINATION ${toolkit_cmake} COMPONENT standin_dev)
  qbx_configure_file(qbx-cimom.pc)
  install(FILES ${PROJECT_BINARY_DIR}/package/qbx-cimom.pc
    DESTINATION ${toolkit_pkgconfig} COMPONENT standin_dev)

  file(RELATIVE_PATH bin_to_lib /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${standin_lib})
  set_target_properties(qbx-cimserver PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  install(TARGETS qbx-cimserver RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT standin)
  install(FILES ${PROJECT_SOURCE_DIR}/Cimom/Broker/interop.mof
    DESTINATION ${standin_data} COMPONENT standin)
  install(FILES ${PROJECT_SOURCE_DIR}/Docs/qbx-cimserver.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT standin)
  install(FILES ${standin_schema} ${module_schema} DESTINATION ${standin_data}/schema COMPONENT standin)
endif()
