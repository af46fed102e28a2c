# SPDX-License-Identifier: MIT
# What the libraries of this project have in common: version, hidden internals, an exact list of
# dynamic symbols, and no need of the C++ runtime.
function(zepjp_library_properties target version_script)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINKER_LANGUAGE C)
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-prio-ctor-dtor>)  # start-up is earlier than any caller
  if(BUILD_SHARED_LIBS)
    get_filename_component(script ${version_script} ABSOLUTE)
    # Never unmapped: the threads of the OpenMP runtime outlive a dlclose().
    target_link_options(${target} PRIVATE
      LINKER:--version-script=${script} LINKER:--as-needed LINKER:-z,nodelete)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script})
  endif()
endfunction()
