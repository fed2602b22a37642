# The CIM library under the product: target qbx_cim.
#   QBX_CIM=embedded  the object manager of this project (Cimom/)
#   QBX_CIM=pegasus   OpenPegasus: PEGASUS_ROOT is its source tree (pegasus/), PEGASUS_HOME its build
set(QBX_CIM "embedded" CACHE STRING "CIM library to build against: embedded or pegasus")
set_property(CACHE QBX_CIM PROPERTY STRINGS embedded pegasus)

add_library(qbx_cim INTERFACE)
target_compile_definitions(qbx_cim INTERFACE PEGASUS_PLATFORM_LINUX_X86_64_GNU)

if(QBX_CIM STREQUAL "embedded")
  target_link_libraries(qbx_cim INTERFACE cimom)
elseif(QBX_CIM STREQUAL "pegasus")
  set(PEGASUS_ROOT "$ENV{PEGASUS_ROOT}" CACHE PATH "OpenPegasus source tree (the folder that holds src/)")
  set(PEGASUS_HOME "$ENV{PEGASUS_HOME}" CACHE PATH "OpenPegasus build (the folder that holds lib/)")
  foreach(header Common/CIMInstance.h Common/InternalException.h Client/CIMClient.h Common/UintArgs.h)
    if(NOT EXISTS "${PEGASUS_ROOT}/src/Pegasus/${header}")
      message(FATAL_ERROR "QBX_CIM=pegasus: ${PEGASUS_ROOT}/src/Pegasus/${header} not found. "
        "Set PEGASUS_ROOT to an OpenPegasus source tree; an installed SDK lacks some of these headers.")
    endif()
  endforeach()
  foreach(lib pegcommon pegprovider pegclient)
    find_library(QBX_${lib} ${lib} PATHS ${PEGASUS_HOME}/lib ${PEGASUS_HOME}/lib64 NO_DEFAULT_PATH)
    if(NOT QBX_${lib})
      message(FATAL_ERROR "QBX_CIM=pegasus: lib${lib}.so not found below PEGASUS_HOME='${PEGASUS_HOME}'. "
        "Build OpenPegasus first and set PEGASUS_HOME to the folder that holds its lib/.")
    endif()
    target_link_libraries(qbx_cim INTERFACE ${QBX_${lib}})
  endforeach()
  target_include_directories(qbx_cim SYSTEM INTERFACE ${PEGASUS_ROOT}/src)
else()
  message(FATAL_ERROR "QBX_CIM='${QBX_CIM}' is not known: use embedded or pegasus")
endif()
