# OpenPegasus under a target: qbx_link_pegasus(TARGET). Also installed with the toolkit.
#   PEGASUS_ROOT  its headers: a source tree (holds src/) or an installed SDK (holds include/)
#   PEGASUS_HOME  its build (holds lib/)

# A wrong folder, or none, is not kept: the environment may name another one the next time.
function(qbx_pegasus_fails variable)
  unset(${variable} CACHE)
  message(FATAL_ERROR "QBX_CIM=pegasus: " ${ARGN})
endfunction()

# The folder that holds Pegasus/ with the headers, in `result`.
function(qbx_pegasus_headers result)
  set(PEGASUS_ROOT "$ENV{PEGASUS_ROOT}" CACHE PATH "OpenPegasus source tree (holds src/) or SDK (holds include/)")
  foreach(folder "${PEGASUS_ROOT}/src" "${PEGASUS_ROOT}/include" "${PEGASUS_ROOT}")
    if(EXISTS "${folder}/Pegasus/Common/CIMInstance.h")
      foreach(header Client/CIMClient.h Common/UintArgs.h Provider/CIMOMHandle.h)
        if(NOT EXISTS "${folder}/Pegasus/${header}")
          qbx_pegasus_fails(PEGASUS_ROOT "${folder}/Pegasus has no ${header}, which the module or "
            "another header there includes. Copy it from a source tree of the same version.")
        endif()
      endforeach()
      set(${result} "${folder}" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  qbx_pegasus_fails(PEGASUS_ROOT "no Pegasus/Common/CIMInstance.h below PEGASUS_ROOT='${PEGASUS_ROOT}'. "
    "Set PEGASUS_ROOT to an OpenPegasus source tree (holds src/) or an installed SDK (holds include/).")
endfunction()

function(qbx_link_pegasus target)
  qbx_pegasus_headers(headers)
  set(PEGASUS_HOME "$ENV{PEGASUS_HOME}" CACHE PATH "OpenPegasus build (the folder that holds lib/)")
  foreach(lib pegcommon pegprovider pegclient)
    find_library(QBX_${lib} ${lib} PATHS ${PEGASUS_HOME}/lib ${PEGASUS_HOME}/lib64 NO_DEFAULT_PATH)
    if(NOT QBX_${lib})
      qbx_pegasus_fails(PEGASUS_HOME "lib${lib}.so not found below PEGASUS_HOME='${PEGASUS_HOME}'. "
        "Build OpenPegasus first and set PEGASUS_HOME to the folder that holds its lib/.")
    endif()
    target_link_libraries(${target} INTERFACE ${QBX_${lib}})
  endforeach()
  target_include_directories(${target} SYSTEM INTERFACE ${headers})
endfunction()
