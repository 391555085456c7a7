# Writes the scripts and the type library of a module as one list, which module.rc and module.cpp both include:
# lines BV_SCRIPT(number, "text") and BV_TYPELIB("file"). Run by bv_add_resources as cmake -P; see there for the inputs.
cmake_minimum_required(VERSION 3.25)
set(list "")

# Appends one script, its lines ended by CR LF.
macro(add_script number text)
  string(REPLACE "\r\n" "\n" literal "${text}")
  string(REPLACE "\\" "\\\\" literal "${literal}")
  string(REPLACE "\"" "\\042" literal "${literal}")
  string(REGEX REPLACE "\n$" "" literal "${literal}")
  string(REPLACE "\n" "\\r\\n\"\n    \"" literal "${literal}")
  string(APPEND list "BV_SCRIPT(${number},\n    \"${literal}\\r\\n\")\n")
endmacro()

while(SCRIPTS)
  list(POP_FRONT SCRIPTS number file)
  file(READ ${file} text)
  add_script(${number} "${text}")
endwhile()

if(CLASSES)
  include(${CLASS_NAMES})  # class_names(<class> <out stem> <out description>)
  set(number 100)
  file(STRINGS ${CLASSES} lines REGEX "^BV_CLASS(_ID)?\\(")
  foreach(line IN LISTS lines)
    math(EXPR number "${number} + 1")
    if(NOT line MATCHES "^BV_CLASS(_ID)?\\(([A-Za-z0-9_]+), \"([0-9A-Fa-f-]+)\"\\)")
      message(FATAL_ERROR "${CLASSES}: this is no line of a class list: ${line}")
    endif()
    if(NOT CMAKE_MATCH_1)  # an id without a class has nothing to register
      set(CLASS_ID ${CMAKE_MATCH_3})
      class_names(${CMAKE_MATCH_2} STEM DESCRIPTION)
      file(READ ${CLASS_TEMPLATE} text)
      string(CONFIGURE "${text}" text @ONLY)
      add_script(${number} "${text}")
    endif()
  endforeach()
endif()

if(TYPELIB)
  string(APPEND list "BV_TYPELIB(\"${TYPELIB}\")\n")
  file(READ ${TYPELIB} bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  cmake_path(GET OUTPUT PARENT_PATH dir)
  file(WRITE ${dir}/typelib.bytes "${bytes}\n")
endif()

file(WRITE ${OUTPUT} "${list}")
