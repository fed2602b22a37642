# Warnings and sanitizers, as one interface target that every target of the project links.
option(QBX_WERROR "Treat warnings as errors" OFF)
set(QBX_SANITIZE "" CACHE STRING "Sanitizers for all targets, e.g. address,undefined or thread")

option(QBX_UNITY "Compile the sources of a library of the server together" OFF)

add_library(qbx_build_options INTERFACE)
target_compile_options(qbx_build_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion
  # Sources that are compiled as one file may repeat each other's local names.
  $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>
  # Of Clang, -Wconversion takes in changes of sign too; GCC's, in C++, does not.
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-sign-conversion>
  # The fixed texts of trace lines are handed to the array's log as formats; Clang and Ubuntu's GCC warn of that.
  -Wno-format-security
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast> $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
if(QBX_WERROR)
  target_compile_options(qbx_build_options INTERFACE -Werror)
endif()
if(QBX_SANITIZE)
  add_compile_options(-fsanitize=${QBX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QBX_SANITIZE})
endif()

# With QBX_UNITY, the sources of a target are compiled as one file: a build from nothing takes less of the
# processor's time where they share large headers and templates. Without it, as in all presets but release, each
# file must include what it needs. If two cannot be compiled together, they have a local name in common:
# rename one.
function(qbx_unity target)
  if(QBX_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
    # In a file that includes others, GCC takes the local types of each for those of a header.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endfunction()
