# Compiler flags of the project's targets. In debug builds, optimizing what runs only a few times (the tests
# themselves, marked by the property QBSVR_TEST, and what only tests of threads use) takes longer than it
# saves. Installed targets don't export them. The presets turn warnings into errors.
if(QBSVR_SANITIZE STREQUAL "thread")
  set(is_unoptimized 1)
else()
  set(is_unoptimized $<BOOL:$<TARGET_PROPERTY:QBSVR_TEST>>)
endif()
add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    $<$<CONFIG:Debug>:-g1;-O$<IF:${is_unoptimized},0,1>>)

# GCC 12 wrongly reports overlapping copies in joined strings (GCC bug 105651), and the use of an
# uninitialized value in an empty std::optional or std::variant (GCC bug 80635).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(project_options INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
endif()

# Dozens of test programs are linked, in a third of the time.
find_program(LLD_PROGRAM ld.lld)
if(LLD_PROGRAM AND QBSVR_PRECOMPILE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_link_options(-fuse-ld=lld)
endif()

if(QBSVR_SANITIZE)
  add_compile_options(-fsanitize=${QBSVR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QBSVR_SANITIZE})
endif()

# qbsvr_precompile(TARGET KIND [HEADERS ...]): the target's sources begin with the headers of the standard
# library that most of them include, parsed once for all targets of a kind: those of equal flags. This saves a
# quarter of a debug build. Builds without the option notice a missing include.
set(standard_headers
    <algorithm> <array> <charconv> <chrono> <cmath> <cstdint> <cstring> <functional> <limits> <map> <memory>
    <mutex> <optional> <span> <stdexcept> <string> <string_view> <unordered_map> <utility> <variant> <vector>)
function(qbsvr_precompile target kind)
  if(NOT QBSVR_PRECOMPILE)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "HEADERS;LIBRARIES" ${ARGN})
  set(owner ${kind}_headers)
  if(NOT TARGET ${owner})
    set(source ${PROJECT_BINARY_DIR}/generated/${owner}.cpp)
    file(GENERATE OUTPUT ${source} CONTENT "")
    get_target_property(type ${target} TYPE)
    add_library(${owner} OBJECT ${source})
    target_link_libraries(${owner} PRIVATE project_options ${arg_LIBRARIES})
    target_precompile_headers(${owner} PRIVATE ${standard_headers} ${arg_HEADERS})
    # The same headers make the same file, which ccache asks for.
    target_compile_options(${owner} PRIVATE $<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>)
    get_target_property(is_test ${target} QBSVR_TEST)
    if(type STREQUAL "EXECUTABLE")
      set_target_properties(${owner} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
      target_compile_options(${owner} PRIVATE -fPIE)
    endif()
    if(is_test)
      set_target_properties(${owner} PROPERTIES QBSVR_TEST ON)
    endif()
  endif()
  target_precompile_headers(${target} REUSE_FROM ${owner})
endfunction()

# qbsvr_find_engine_beside(PROGRAM): the program finds the engine relative to itself; LD_LIBRARY_PATH takes
# precedence. The build tree has the folders of an installation.
function(qbsvr_find_engine_beside program)
  target_link_options(${program} PRIVATE -Wl,--enable-new-dtags)
  set_target_properties(${program} PROPERTIES
      BUILD_WITH_INSTALL_RPATH ON
      INSTALL_RPATH "$ORIGIN/../${QBSVR_ENGINE_DIR}"
      INSTALL_RPATH_USE_LINK_PATH ON)
endfunction()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  if(QBSVR_PRECOMPILE)
    list(PREPEND CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros)
  endif()
endif()
