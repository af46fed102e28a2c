# SPDX-License-Identifier: MIT
# Runs PRINT_MASK with many values of ZEPCORE_CPU_FEATURES and compares the masks that it prints.
cmake_minimum_required(VERSION 3.25)

function(read_mask result)
  execute_process(COMMAND ${PRINT_MASK} OUTPUT_VARIABLE printed RESULT_VARIABLE status
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT status EQUAL 0 OR NOT printed MATCHES "^0x[0-9a-f]+$")
    message(FATAL_ERROR "${PRINT_MASK}: status ${status}, printed '${printed}'")
  endif()
  set(${result} ${printed} PARENT_SCOPE)
endfunction()

function(expect setting expected)
  set(ENV{ZEPCORE_CPU_FEATURES} "${setting}")
  read_mask(mask)
  math(EXPR wanted "${expected}" OUTPUT_FORMAT HEXADECIMAL)
  if(NOT mask STREQUAL wanted)
    message(SEND_ERROR "ZEPCORE_CPU_FEATURES='${setting}': mask ${mask}, not ${wanted}")
  endif()
endfunction()

unset(ENV{ZEPCORE_CPU_FEATURES})
read_mask(detected)
message(STATUS "detected: ${detected}")
math(EXPR unknown "${detected} & ~0x700")
if(NOT unknown EQUAL 0)
  message(SEND_ERROR "Detection reports bits that have no meaning: ${detected}")
endif()

foreach(value 0 0x0 0x10 0x20 0x30 48 0x100 256 0x200 0x300 0x400 0x500 0x600 0x700 1792 0x110 0x330
        0x7ff 0xf000 0x7fffffffffffffff)
  expect(${value} "(${detected} & ${value}) | (${value} & 0x30)")
endforeach()
expect(0xffffffffffffffff "${detected} | 0x30")

foreach(text " " none 0x -1 +1 "0x300 " " 0x300" 300h 0x1g 18446744073709551616 3.0)
  expect("${text}" ${detected})
endforeach()
