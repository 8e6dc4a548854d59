# Compiler settings and the target functions that every folder uses.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})

set(K4_SANITIZE "" CACHE STRING "Sanitizers of the program and the tests, such as address,undefined")
option(K4_COVERAGE "Count executed lines" OFF)
option(K4_FUZZ "Build the fuzz targets (needs clang++)" OFF)

find_program(K4_CCACHE ccache)
if(K4_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${K4_CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Werror)
add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)

# Nothing here is faster by -O3, and a first build is slower.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

# Nothing here asks errno about mathematics; without it lrint() and sqrt() are one instruction.
add_compile_options(-fno-math-errno)

# Hardening of everything that ships. _FORTIFY_SOURCE needs an optimising build.
add_compile_options(-fstack-protector-strong $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
add_link_options(-Wl,-z,relro,-z,now)
if(NOT K4_FUZZ)
  include(CheckPIESupported)
  check_pie_supported()
endif()

# The same sources at any path give the same bytes. (The counts of a coverage build must lead
# back to the sources.)
if(NOT K4_COVERAGE)
  add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -ffile-prefix-map=${CMAKE_BINARY_DIR}/=)
endif()

# The headers of a first build are read once, and not by each file. Builds for debugging and
# analysis do without, so that an include that is missing is seen there.
string(COMPARE EQUAL "${CMAKE_BUILD_TYPE}" Release K4_RELEASE)
option(K4_READ_ONCE "One precompiled standard library, and rooms that are compiled whole" ${K4_RELEASE})

set(K4_INSTRUMENTED OFF)
if(K4_SANITIZE OR K4_FUZZ OR K4_COVERAGE)
  set(K4_INSTRUMENTED ON)
endif()

# Instruments a target as the preset asks. The preloaded library of the virtual
# device is never instrumented: its hand-over between threads must stay invisible
# to ThreadSanitizer, and it runs before a sanitizer has started.
function(k4_instrument target)
  if(K4_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${K4_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${K4_SANITIZE})
  endif()
  if(K4_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(K4_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()

# Of what runs on the machine that builds it and not on the device.
# The library is there from the start of a program, so its thread variables have a fixed place.
set(K4_SIM_OPTIONS -msse2 -mfpmath=sse -fno-semantic-interposition -ftls-model=initial-exec)

if(K4_READ_ONCE)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/standard_library.cpp CONTENT "")
  add_library(k4_standard_library OBJECT ${CMAKE_BINARY_DIR}/standard_library.cpp)
  target_precompile_headers(k4_standard_library PRIVATE <algorithm> <array> <cmath> <cstdlib>
      <cstring> <functional> <map> <memory> <optional> <string> <string_view> <vector>)
  target_compile_options(k4_standard_library PRIVATE ${K4_SIM_OPTIONS})
endif()

function(k4_read_once target)
  if(K4_READ_ONCE)
    target_precompile_headers(${target} REUSE_FROM k4_standard_library)
  endif()
endfunction()

# k4_whole_rooms(TARGET ROOMS...): the files of these folders, together, which belong to the
# target, are one file for the compiler, so that names which are local to a file must differ, and
# none may stand before a function of libc that another file calls: alsa's read() and write()
# would take host's calls.
function(k4_whole_rooms target)
  list(GET ARGN 0 first)
  foreach(room ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${room}/*.cpp)
    set_source_files_properties(${sources} PROPERTIES UNITY_GROUP ${first})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${K4_READ_ONCE} UNITY_BUILD_MODE GROUP)
endfunction()

# k4_library(NAME USES...): one static library of all sources of the current folder
# (and its subfolders). Its headers are visible as "NAME/..." to targets that link
# it, and to no other, so that a dependency in the wrong direction does not compile.
function(k4_library name)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(${name} STATIC ${sources})
  k4_public_headers(${name} ${name})
  target_link_libraries(${name} PUBLIC ${ARGN})
  # Code for executables only. What may end in a shared library must look up its own functions,
  # so that it can neither be drawn together nor called straight.
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  # Each function by itself, so that a link can leave out what nobody calls.
  target_compile_options(${name} PRIVATE -fPIE -ffunction-sections -fdata-sections)
  k4_instrument(${name})
endfunction()

# k4_embed(TARGET FILES...): a source of the target has each of these files as a text by
# #include "FOLDER/FILE.inc", with FILE's path in the project. It must not hold ")k4embed".
function(k4_embed target)
  set(root ${CMAKE_BINARY_DIR}/embedded)
  foreach(file ${ARGN})
    file(REAL_PATH ${file} path)
    file(RELATIVE_PATH name ${CMAKE_SOURCE_DIR} ${path})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
    file(READ ${path} text)
    file(WRITE ${root}/${name}.new "R\"k4embed(${text})k4embed\"\n")
    file(COPY_FILE ${root}/${name}.new ${root}/${name}.inc ONLY_IF_DIFFERENT)
  endforeach()
  target_include_directories(${target} PRIVATE ${root})
endfunction()

function(k4_public_headers target folder)
  set(root ${CMAKE_BINARY_DIR}/include/${folder})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${folder} ${root}/${folder} SYMBOLIC)
  target_include_directories(${target} PUBLIC ${root})
endfunction()
