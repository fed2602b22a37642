# The manifest of a provider module, from which qbx-provider installs it into OpenPegasus. Also installed
# with the toolkit.
#   qbx_add_manifest(NAME MOF FILE... REGISTRATION FILE CLASSES CLASS:SUPERCLASS...
#                    [LOOKED_UP CLASS...] [NEEDS_SYSTEM CLASS...])
#   NAME          of the library libNAME.so; the registration has module "NAMEModule" at Location "NAME"
#   MOF           the file with all classes, and after it those that it includes
#   CLASSES       what that file declares, in the order of the definitions
#   LOOKED_UP     those of CLASSES that the module does not serve but finds in the namespace
#   NEEDS_SYSTEM  those of CLASSES that can only be queried where there is a QBX_StorageSystem
# Writes manifest.json into the current build folder, and copies of the MOF files beside it, with the
# project's version for @PROJECT_VERSION@.
function(qbx_add_manifest name)
  cmake_parse_arguments(PARSE_ARGV 1 given "" "REGISTRATION" "MOF;CLASSES;LOOKED_UP;NEEDS_SYSTEM")
  foreach(argument PROJECT_VERSION given_MOF given_REGISTRATION given_CLASSES)
    if(NOT ${argument})
      string(REPLACE given_ "" argument ${argument})
      message(FATAL_ERROR "qbx_add_manifest(${name}): ${argument} is missing")
    endif()
  endforeach()
  foreach(file ${given_MOF} ${given_REGISTRATION})
    get_filename_component(copy ${file} NAME)
    configure_file(${file} ${CMAKE_CURRENT_BINARY_DIR}/${copy} @ONLY)
  endforeach()

  list(GET given_MOF 0 mof)
  get_filename_component(mof ${mof} NAME)
  get_filename_component(registration ${given_REGISTRATION} NAME)
  foreach(list LOOKED_UP NEEDS_SYSTEM)
    list(TRANSFORM given_${list} REPLACE "(.+)" "\"\\1\"")
    list(JOIN given_${list} ", " ${list})
  endforeach()
  list(TRANSFORM given_CLASSES REPLACE "^(.+):(.+)$" "    \"\\1\": \"\\2\"")
  list(JOIN given_CLASSES ",\n" classes)
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/manifest.json @ONLY CONTENT [[{
  "name": "@name@",
  "version": "@PROJECT_VERSION@",
  "mof": "@mof@",
  "registration": "@registration@",
  "classes": {
@classes@
  },
  "looked_up": [@LOOKED_UP@],
  "needs_system": [@NEEDS_SYSTEM@]
}
]])
endfunction()
