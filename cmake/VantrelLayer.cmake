# vantrel_layer(NAME SOURCES file... [DEPENDS target...] [PUBLIC_DEPENDS target...] [QT])
#
# One static library an acyclic layer. DEPENDS names what the layer's sources use;
# PUBLIC_DEPENDS what its headers use as well. QT switches AUTOMOC on. Every call is
# recorded, so that the layering test can compare the declared dependencies with the
# #include lines of the sources.
function(vantrel_layer NAME)
  cmake_parse_arguments(L "QT" "" "SOURCES;DEPENDS;PUBLIC_DEPENDS" ${ARGN})
  add_library(${NAME} STATIC ${L_SOURCES})
  target_include_directories(${NAME} PRIVATE ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(${NAME} PRIVATE vantrel_flags ${L_DEPENDS} PUBLIC ${L_PUBLIC_DEPENDS})
  if(L_QT)
    set_target_properties(${NAME} PROPERTIES AUTOMOC ON)
  endif()
  file(RELATIVE_PATH dir ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set_property(GLOBAL APPEND PROPERTY VANTREL_LAYERS
    "${NAME}|${dir}|${L_SOURCES}|${L_DEPENDS};${L_PUBLIC_DEPENDS}")
endfunction()

# Everything that the run of the thread sanitizer needs besides the program itself.
add_custom_target(tsan_tests)

# vantrel_test(NAME SOURCES file... [DEPENDS target...] [LABELS label...])
# A Qt Test binary, run offscreen. Test sources may include any header below src/ and
# the interface headers of platform/. Two labels choose the sanitizer runs: "tsan" adds a test
# that has more than one thread to the run of the thread sanitizer, "no_asan" leaves a test out of
# the run of the address sanitizer because it takes more than a minute there.
function(vantrel_test NAME)
  cmake_parse_arguments(T "" "" "SOURCES;DEPENDS;LABELS" ${ARGN})
  add_executable(${NAME} ${T_SOURCES})
  set_target_properties(${NAME} PROPERTIES AUTOMOC ON
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_include_directories(${NAME} PRIVATE ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_definitions(${NAME} PRIVATE
    VANTREL_SOURCE_DIR="${CMAKE_SOURCE_DIR}" VANTREL_BINARY_DIR="${CMAKE_BINARY_DIR}")
  target_compile_options(${NAME} PRIVATE -include ${CMAKE_SOURCE_DIR}/tests/patience.h)
  target_link_libraries(${NAME} PRIVATE vantrel_flags Qt6::Test ${T_DEPENDS})
  add_test(NAME ${NAME} COMMAND ${NAME})
  set_tests_properties(${NAME} PROPERTIES
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_FORCE_STDERR_LOGGING=1;TSAN_OPTIONS=ignore_noninstrumented_modules=1;ASAN_OPTIONS=detect_leaks=0" LABELS "${T_LABELS}" TIMEOUT 300)
  if("tsan" IN_LIST T_LABELS)
    add_dependencies(tsan_tests ${NAME})
  endif()
endfunction()

# The record of all layers, a line each: name|folder|sources|dependencies.
function(vantrel_write_layers)
  get_property(layers GLOBAL PROPERTY VANTREL_LAYERS)
  string(REPLACE "|" "\t" text "")
  set(out "")
  list(LENGTH layers n)
  file(WRITE ${CMAKE_BINARY_DIR}/layers.txt "")
  # Lists inside a record use ';', so walk the flat list and join until the next record starts.
  set(line "")
  foreach(part IN LISTS layers)
    if(part MATCHES "^[a-z_]+[|]" AND NOT line STREQUAL "")
      file(APPEND ${CMAKE_BINARY_DIR}/layers.txt "${line}\n")
      set(line "${part}")
    elseif(line STREQUAL "")
      set(line "${part}")
    else()
      set(line "${line} ${part}")
    endif()
  endforeach()
  file(APPEND ${CMAKE_BINARY_DIR}/layers.txt "${line}\n")
endfunction()
