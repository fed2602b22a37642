# The Storage-system API under the product.
#   QBX_STORAGE_API=simulator       the simulated array of this project
#   QBX_STORAGE_API=/path/to/library  the array's own libqbxapi
set(QBX_STORAGE_API "simulator" CACHE STRING "simulator, or the path of the array's libqbxapi.so")

add_library(qbx_storage_headers INTERFACE)
target_include_directories(qbx_storage_headers INTERFACE ${PROJECT_SOURCE_DIR}/StorageApi/include)

# qbxapi: what the module links. The simulator defines a target of that name itself.
if(NOT QBX_STORAGE_API STREQUAL "simulator")
  if(NOT EXISTS "${QBX_STORAGE_API}")
    message(FATAL_ERROR "QBX_STORAGE_API: no such library: ${QBX_STORAGE_API}")
  endif()
  add_library(qbxapi SHARED IMPORTED)
  set_target_properties(qbxapi PROPERTIES IMPORTED_LOCATION "${QBX_STORAGE_API}" IMPORTED_SONAME libqbxapi.so)
endif()
