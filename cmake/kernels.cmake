# SPDX-License-Identifier: MIT
# Sources of kernels, which Highway compiles once for each instruction set (simd/dispatch.h).
find_path(HIGHWAY_INCLUDE_DIR hwy/highway.h NO_CMAKE_FIND_ROOT_PATH)
if(NOT HIGHWAY_INCLUDE_DIR)
  message(FATAL_ERROR "The headers of Highway were not found (Debian: libhwy-dev)")
endif()
set(highway_include ${HIGHWAY_INCLUDE_DIR})
if(CMAKE_CROSSCOMPILING)
  # The headers serve every processor; the directory that they share with the system's does not.
  set(highway_include ${CMAKE_CURRENT_BINARY_DIR}/highway)
  file(MAKE_DIRECTORY ${highway_include})
  file(CREATE_LINK ${HIGHWAY_INCLUDE_DIR}/hwy ${highway_include}/hwy SYMBOLIC)
endif()

# Kernels are vector code by hand: the compiler does not vectorize on its own. x86 kernels start at
# SSSE3, so that no scalar target is generated; nothing else in their files runs before the check
# for it (simd/startup.h).
set(kernel_flags -fno-tree-vectorize
  $<$<CXX_COMPILER_ID:GNU>:-Wno-prio-ctor-dtor>)  # they are chosen before any caller runs
set(kernel_definitions)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86|x86)$")
  list(APPEND kernel_flags -mssse3)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64|ARM64)$")
  # NEON alone, which every 64-bit Arm has: no choice at run time, so no function attributes either.
  set(kernel_definitions TOOLCHAIN_MISS_SYS_AUXV_H)
else()
  # Highway's scalar code for vectors of 128 bits. Highway avoids it before g++ 12.3, because the
  # vectorizer may get it wrong; kernels are compiled without vectorizer.
  set(kernel_definitions HWY_COMPILE_ONLY_EMU128 HWY_BROKEN_EMU128=0)
  list(APPEND kernel_flags -include ${PROJECT_SOURCE_DIR}/simd/modest_inlining.h)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$")
  list(APPEND kernel_flags -mstackrealign)  # callers may keep the stack at 4 bytes
endif()

function(zepjp_use_kernels target)
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS ${kernel_flags})
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_DEFINITIONS ${kernel_definitions})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_include_directories(${target} SYSTEM PRIVATE ${highway_include})
endfunction()
