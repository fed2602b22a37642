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
  include(QbxPegasus)
  qbx_link_pegasus(qbx_cim)
else()
  message(FATAL_ERROR "QBX_CIM='${QBX_CIM}' is not known: use embedded or pegasus")
endif()
