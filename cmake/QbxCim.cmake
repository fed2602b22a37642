# The CIM library under the product: target qbx_cim.
#   QBX_CIM=embedded  the object manager of this project (Cimom/)
#   QBX_CIM=pegasus   OpenPegasus: PEGASUS_ROOT is its source tree (pegasus/), PEGASUS_HOME its build
set(QBX_CIM "embedded" CACHE STRING "CIM library to build against: embedded or pegasus")
set_property(CACHE QBX_CIM PROPERTY STRINGS embedded pegasus)

add_library(qbx_cim INTERFACE)
target_compile_definitions(qbx_cim INTERFACE PEGASUS_PLATFORM_LINUX_X86_64_GNU)

# QBX_CIM_INTERNAL: whether the library's headers are all there, also those that an SDK leaves out.
if(QBX_CIM STREQUAL "embedded")
  set(QBX_CIM_INTERNAL ON)
  target_link_libraries(qbx_cim INTERFACE cimom)
elseif(QBX_CIM STREQUAL "pegasus")
  include(QbxPegasus)
  include(CheckCXXSourceCompiles)
  qbx_link_pegasus(qbx_cim)
  qbx_pegasus_headers(headers)
  set(CMAKE_REQUIRED_QUIET ON)
  set(CMAKE_REQUIRED_INCLUDES ${headers})
  set(CMAKE_REQUIRED_DEFINITIONS -DPEGASUS_PLATFORM_LINUX_X86_64_GNU)
  set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
  unset(QBX_CIM_INTERNAL CACHE)  # PEGASUS_ROOT may be another one now
  check_cxx_source_compiles("#include <Pegasus/Common/MessageLoader.h>
    #include <Pegasus/Common/InternalException.h>" QBX_CIM_INTERNAL)
  foreach(setting QUIET INCLUDES DEFINITIONS)
    unset(CMAKE_REQUIRED_${setting})
  endforeach()
  unset(CMAKE_TRY_COMPILE_TARGET_TYPE)
  if(QBX_CIM_INTERNAL)
    message(STATUS "OpenPegasus headers: ${headers}, with the internal ones")
  else()
    message(STATUS "OpenPegasus headers: ${headers}, an SDK's: the server's trace will lack file and "
      "line of the module's refusals")
  endif()
else()
  message(FATAL_ERROR "QBX_CIM='${QBX_CIM}' is not known: use embedded or pegasus")
endif()
