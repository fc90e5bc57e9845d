# One folder under src/ is one static library. What it may include is what it links: each library shows its headers
# through an include folder of its own, which reaches a target only along target_link_libraries.

# larkspool_module(NAME [LINKS module...] [OUTSIDE target...])
#
# LINKS are the floors below that the headers and sources of this folder may include. OUTSIDE are libraries from outside,
# which stay private to this folder.
function(larkspool_module name)
  cmake_parse_arguments(MODULE "" "" "LINKS;OUTSIDE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$") # An entry point belongs to a program, not to the library.
  add_library(${name} STATIC ${sources})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)

  set(include_folder "${CMAKE_BINARY_DIR}/include/${name}")
  file(MAKE_DIRECTORY "${include_folder}")
  file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${include_folder}/${name}" SYMBOLIC)
  target_include_directories(${name} PUBLIC "${include_folder}")

  target_link_libraries(${name} PUBLIC ${MODULE_LINKS} PRIVATE ${MODULE_OUTSIDE})
  target_precompile_headers(${name} PRIVATE "${CMAKE_SOURCE_DIR}/cmake/precompiled.h")
endfunction()

# larkspool_tests(MODULE [LINKS target...] [OUTSIDE target...])
#
# The tests of one folder: every *_test.cpp below tests/MODULE in one program, which links that folder and nothing above it.
# CTest knows them as MODULE.Suite.Test, with the folder as their label.
function(larkspool_tests module)
  cmake_parse_arguments(TESTS "" "" "LINKS;OUTSIDE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${module}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/${module}/*.h")
  if(NOT sources)
    return()
  endif()
  add_executable(${module}_tests ${sources})
  target_link_libraries(${module}_tests PRIVATE ${module} ${TESTS_LINKS} ${TESTS_OUTSIDE} GTest::gmock GTest::gtest_main rapidcheck)
  target_compile_definitions(${module}_tests PRIVATE LARKSPOOL_SOURCE_FOLDER="${CMAKE_SOURCE_DIR}")
  target_include_directories(${module}_tests PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  target_precompile_headers(${module}_tests PRIVATE "${CMAKE_SOURCE_DIR}/cmake/precompiled_tests.h")
  gtest_discover_tests(${module}_tests
    TEST_PREFIX ${module}. DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300 LABELS ${module})
endfunction()
