# SPDX-License-Identifier: MIT
# Shared by the libraries of this project: version, hidden internals, an exact list of dynamic
# symbols, and independence of the C++ runtime.
function(zepjp_library_properties target version_script)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINKER_LANGUAGE C
    DEFINE_SYMBOL ""  # static and shared libraries have the same objects
    INSTALL_RPATH $<IF:$<PLATFORM_ID:Darwin>,@loader_path,$ORIGIN>)  # they lie side by side
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-prio-ctor-dtor>)  # start-up is earlier than any caller
  if(BUILD_SHARED_LIBS)
    get_filename_component(script ${version_script} ABSOLUTE)
    # Never unmapped: the threads of the OpenMP runtime still run after dlclose().
    target_link_options(${target} PRIVATE
      LINKER:--version-script=${script} LINKER:--as-needed LINKER:-z,nodelete)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script})
  endif()
endfunction()

# The OpenMP runtime that a program links: by name if every compiler finds it.
set(ZEPJP_OPENMP_LINK)
if(ZEP_OPENMP)
  list(GET OpenMP_CXX_LIB_NAMES 0 name)
  set(ZEPJP_OPENMP_LINK ${name})
  if(NOT name STREQUAL "gomp")
    set(ZEPJP_OPENMP_LINK ${OpenMP_${name}_LIBRARY})
  endif()
endif()

# Compiles the sources with OpenMP and links its runtime. An installed static library names the
# runtime itself, so a project without C++ or FindOpenMP can link it.
function(zepjp_use_openmp target)
  if(NOT ZEP_OPENMP)
    return()
  endif()
  separate_arguments(flags NATIVE_COMMAND "${OpenMP_CXX_FLAGS}")
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS ${flags})
  target_include_directories(${target} SYSTEM PRIVATE ${OpenMP_CXX_INCLUDE_DIRS})
  target_link_libraries(${target} PRIVATE "$<BUILD_INTERFACE:${OpenMP_CXX_LIBRARIES}>"
    $<INSTALL_INTERFACE:${ZEPJP_OPENMP_LINK}>)
endfunction()
