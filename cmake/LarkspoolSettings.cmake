# Language, warnings and flags for every target of the project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

find_program(LARKSPOOL_CCACHE ccache)
if(LARKSPOOL_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${LARKSPOOL_CCACHE}")
endif()

# A frame is a function of its inputs alone, so no multiply and add may fuse by accident.
add_compile_options(-ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wno-missing-field-initializers)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overruns and overlaps in its own std::string that are none, here and there as it inlines. The address sanitizer
  # watches for the real ones.
  add_compile_options(-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread)
endif()
if(LARKSPOOL_CCACHE)
  # Precompiled headers and ccache agree only when times inside the headers do not count.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endif()
if(LARKSPOOL_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

if(LARKSPOOL_FUZZ)
  # The standard library of GCC 12 uses what it calls deprecated, which only this compiler remarks.
  add_compile_options(-Wno-deprecated-declarations)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()
if(LARKSPOOL_SANITIZE)
  add_compile_options(-fsanitize=${LARKSPOOL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # With checks between the instructions GCC 12 no longer sees that variants and optionals are set before they are read.
  add_compile_options(-Wno-maybe-uninitialized)
  add_link_options(-fsanitize=${LARKSPOOL_SANITIZE})
endif()

find_program(LARKSPOOL_MOLD mold)
if(LARKSPOOL_MOLD AND NOT LARKSPOOL_SANITIZE AND NOT LARKSPOOL_FUZZ)
  add_link_options(-fuse-ld=mold)
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
