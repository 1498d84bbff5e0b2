# Address and undefined-behaviour sanitizers for the asan preset; any finding aborts the test.
if(QUORVANE_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()
# The thread sanitizer for the tsan preset, which builds and runs the tests that cross threads.
if(QUORVANE_SANITIZE_THREAD)
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
endif()
# Line and branch counts for scripts/coverage.sh; each process adds its counts at exit.
if(QUORVANE_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
if(QUORVANE_FUZZ AND NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "QUORVANE_FUZZ needs clang (use the fuzz preset)")
endif()
