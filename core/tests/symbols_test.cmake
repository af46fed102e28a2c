# SPDX-License-Identifier: MIT
# The shared LIBRARY shows exactly these symbols, and does not need the C++ runtime.
cmake_minimum_required(VERSION 3.25)

set(node ZEPCORE_7)
set(expected
  ownGetNumThreads zepFree zepGetEnabledCpuFeatures zepGetMaxCacheSizeB zepMalloc zepSetNumThreads
  zepSetOwnNumThreads)
list(TRANSFORM expected APPEND "@@${node}")
list(APPEND expected ${node}@@${node})
list(SORT expected)

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE listing
  COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^ \n]+\n" symbols "${listing}")
list(TRANSFORM symbols STRIP)
# Some versions of nm print the node itself with one @ only, or with none.
list(TRANSFORM symbols REPLACE "^${node}(@${node})?$" "${node}@@${node}")
list(SORT symbols)
if(NOT symbols STREQUAL expected)
  message(SEND_ERROR "Dynamic symbols: ${symbols}\nbut should be: ${expected}")
endif()

execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE dynamic
  COMMAND_ERROR_IS_FATAL ANY)
if(NOT dynamic MATCHES "SONAME[^\n]*\\[libzepcore\\.so\\.7\\]")
  message(SEND_ERROR "The soname is not libzepcore.so.7:\n${dynamic}")
endif()
execute_process(COMMAND ${NM} -D --undefined-only ${LIBRARY} OUTPUT_VARIABLE undefined
  COMMAND_ERROR_IS_FATAL ANY)
# Sanitized code may bring it along.
if(NOT undefined MATCHES "__(asan|tsan|msan|ubsan)_"
   AND dynamic MATCHES "NEEDED[^\n]*(libstdc\\+\\+|libc\\+\\+)[^\n]*")
  message(SEND_ERROR "Needs the C++ runtime: ${CMAKE_MATCH_0}")
endif()
