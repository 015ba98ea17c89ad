# A program that holds the engine once for each kind of processor of its architecture: the sources are configured and
# compiled once for each, into one relocatable object of which the linker sees one variable.
include(ExternalProject)

# Those for older processors first, as src/variants/main.cpp has them: name, what -march takes, bit extraction.
set(MORVANE_VARIANTS
  "x86-64|x86-64|OFF"
  "x86-64-v2|x86-64-v2|OFF"
  "x86-64-v3|x86-64-v3|OFF"
  "x86-64-v3-pext|x86-64-v3|ON")

# morvane_add_variants(TARGET): compiles all variants and links them to the target.
function(morvane_add_variants target)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    message(FATAL_ERROR "MORVANE_UNIVERSAL needs g++")
  endif()
  set(settings "")
  foreach(name IN ITEMS CMAKE_BUILD_TYPE CMAKE_CXX_COMPILER CMAKE_CXX_FLAGS CMAKE_MAKE_PROGRAM CMAKE_TOOLCHAIN_FILE
      CMAKE_UNITY_BUILD MORVANE_HARDEN MORVANE_PROFILE MORVANE_PROFILE_FOLDER MORVANE_REVISION MORVANE_WERROR)
    list(APPEND settings "-D${name}=${${name}}")
  endforeach()
  set(before "") # two at a time: some steps of each take one processor, others all
  set(last "")
  foreach(variant IN LISTS MORVANE_VARIANTS)
    string(REPLACE "|" ";" variant "${variant}")
    list(POP_FRONT variant name arch pext)
    set(folder ${PROJECT_BINARY_DIR}/variants/${name})
    ExternalProject_Add(variant-${name}
      PREFIX ${folder}/external
      SOURCE_DIR ${PROJECT_SOURCE_DIR}
      BINARY_DIR ${folder}
      CMAKE_ARGS ${settings} -DMORVANE_VARIANT=${name} -DMORVANE_ARCH=${arch} -DMORVANE_PEXT=${pext}
      BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target variant
      BUILD_BYPRODUCTS ${folder}/variant.o
      BUILD_ALWAYS ON
      INSTALL_COMMAND ""
      DEPENDS ${before})
    set(before ${last})
    set(last variant-${name})
    target_link_libraries(${target} PRIVATE ${folder}/variant.o)
    add_dependencies(${target} variant-${name})
  endforeach()
endfunction()

# morvane_make_variant(): in the build of one variant, the target `variant` that leaves variant.o.
function(morvane_make_variant)
  string(MAKE_C_IDENTIFIER ${MORVANE_VARIANT} id)
  add_executable(variant variants/engine.cpp)
  target_link_libraries(variant PRIVATE morvane_uci)
  morvane_guard_stacks(variant)
  set_source_files_properties(variants/engine.cpp PROPERTIES
    COMPILE_DEFINITIONS "MORVANE_VARIANT=\"${MORVANE_VARIANT}\"")
  set_target_properties(variant PROPERTIES SUFFIX .o RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  add_custom_command(TARGET variant POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --redefine-sym kVariant=kVariant_${id} --keep-global-symbol=kVariant_${id}
            $<TARGET_FILE:variant>
    VERBATIM)
endfunction()
