# Warnings for our own targets only; errors only where CI asks for them.
function(corvale_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
  if(CORVALE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# One static library per area, with a corvale:: alias.
function(corvale_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_DEPS;PRIVATE_DEPS" ${ARGN})
  add_library(corvale_${name} STATIC ${ARG_SOURCES})
  add_library(corvale::${name} ALIAS corvale_${name})
  target_include_directories(corvale_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(corvale_${name} PUBLIC ${ARG_PUBLIC_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  corvale_warnings(corvale_${name})
endfunction()

# An area whose code has not arrived yet: an interface library that already
# fixes where it sits among the others. It becomes a corvale_library with its first source.
function(corvale_pending_area name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  add_library(corvale_${name} INTERFACE)
  add_library(corvale::${name} ALIAS corvale_${name})
  target_link_libraries(corvale_${name} INTERFACE ${ARG_DEPS})
endfunction()
