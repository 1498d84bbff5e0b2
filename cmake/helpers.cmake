# quorvane_library(<name> SOURCES ... [LINKS ...])
#   One folder under src/ is one static library, quorvane_<name>; headers are included as "<name>/file.h".
function(quorvane_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(quorvane_${name} STATIC ${ARG_SOURCES})
    target_include_directories(quorvane_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_compile_options(quorvane_${name} PRIVATE ${QUORVANE_WARNINGS})
    target_link_libraries(quorvane_${name} PUBLIC ${ARG_LINKS})
endfunction()

# quorvane_gtest(<name> LABEL <label> SOURCES ... [LINKS ...])
#   A GoogleTest executable whose tests CTest runs one by one under the given label.
function(quorvane_gtest name)
    cmake_parse_arguments(ARG "" "LABEL" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_compile_options(${name} PRIVATE ${QUORVANE_WARNINGS})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gtest GTest::gtest_main)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS ${ARG_LABEL})
endfunction()

# A companion tool of the desktop program: one main.cpp on the tools library, built and installed
# beside the server's binary, where the main window looks for it.
function(quorvane_tool name)
    add_executable(${name} main.cpp)
    target_compile_options(${name} PRIVATE ${QUORVANE_WARNINGS})
    target_link_libraries(${name} PRIVATE quorvane_tools)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:quorvane>)
    include(GNUInstallDirs)
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
