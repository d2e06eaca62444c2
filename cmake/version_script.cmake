# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Writes the linker version script of libcorvane: the corvane namespaces, the C settings
# functions, and of the generated interface code only what programs use (service clients,
# service interfaces, records, exceptions and enum tables); the processors, argument and
# result holders of the generated code, and every template instance, stay local.
#   cmake -DIDL_DIR=<idl> -DOUT=<file.map> -P version_script.cmake

# Unquoted, so that `*` is a wildcard; `?` stands for the blanks of the demangled forms.
set(forms "vtable?for?" "VTT?for?" "typeinfo?for?" "typeinfo?name?for?")
# Clients and service interfaces are used through their virtual operations only (getClient
# makes them), so their vtables and type information are enough; records export everything.
function(export_class prefix name)
  foreach(f "" ${forms})
    string(APPEND lines "      ${f}${prefix}${name};\n")
  endforeach()
  if(ARGN STREQUAL "TYPE_ONLY")
    set(lines "${lines}" PARENT_SCOPE)
    return()
  endif()
  string(APPEND lines "      ${prefix}${name}::*;\n")
  string(APPEND lines "      virtual?thunk?to?${prefix}${name}::*;\n")
  string(APPEND lines "      non-virtual?thunk?to?${prefix}${name}::*;\n")
  set(lines "${lines}" PARENT_SCOPE)
endfunction()

set(lines "")
foreach(f ${forms} "virtual?thunk?to?" "non-virtual?thunk?to?")
  string(APPEND lines "      ${f}corvane::*;\n")
endforeach()

file(GLOB idls ${IDL_DIR}/*.thrift)
list(SORT idls)
foreach(idl ${idls})
  file(STRINGS ${idl} content)
  set(prefix "")
  foreach(line ${content})
    if(line MATCHES "^namespace cpp ([A-Za-z0-9_]+)")
      set(prefix "${CMAKE_MATCH_1}::")
    endif()
  endforeach()
  foreach(line ${content})
    if(line MATCHES "^service ([A-Za-z0-9_]+)")
      export_class("${prefix}" "${CMAKE_MATCH_1}Client" TYPE_ONLY)
      export_class("${prefix}" "${CMAKE_MATCH_1}If" TYPE_ONLY)
    elseif(line MATCHES "^(struct|exception) ([A-Za-z0-9_]+)")
      export_class("${prefix}" "${CMAKE_MATCH_2}")
      set(records TRUE)
    elseif(line MATCHES "^enum ([A-Za-z0-9_]+)")
      string(APPEND lines "      ${prefix}_${CMAKE_MATCH_1}_VALUES_TO_NAMES;\n")
      string(APPEND lines "      ${prefix}to_string*;\n")
      set(records TRUE)
    endif()
  endforeach()
  # Printing and swapping of the records: free functions of the generated namespace.
  if(records AND prefix)
    string(APPEND lines "      ${prefix}operator??*;\n      ${prefix}swap*;\n")
  endif()
  set(records FALSE)
endforeach()

file(WRITE ${OUT}.tmp "CORVANE_1 {\n  global:\n    cvConfig__*;\n    extern \"C++\" {\n      corvane::*;\n      *?corvane::getClient?*;\n${lines}    };\n  local:\n    *;\n};\n")
execute_process(COMMAND ${CMAKE_COMMAND} -E copy_if_different ${OUT}.tmp ${OUT})
file(REMOVE ${OUT}.tmp)
