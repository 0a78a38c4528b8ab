# Compiler flags of the project's targets. In debug builds, optimizing what runs only a few times (the tests
# themselves, marked by the property QBSVR_TEST) takes longer than it saves. Installed targets don't export them. The presets turn warnings into
# errors.
add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    $<$<CONFIG:Debug>:-g1;-O$<IF:$<BOOL:$<TARGET_PROPERTY:QBSVR_TEST>>,0,1>>)

# GCC 12 wrongly reports overlapping copies in joined strings (GCC bug 105651), and the use of an
# uninitialized value in an empty std::optional or std::variant (GCC bug 80635).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(project_options INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
endif()

if(QBSVR_SANITIZE)
  add_compile_options(-fsanitize=${QBSVR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QBSVR_SANITIZE})
endif()

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
endif()
