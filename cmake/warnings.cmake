# Warning flags for every target of the project (not for third-party code).
set(QUORVANE_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough)
if(QUORVANE_WERROR)
    list(APPEND QUORVANE_WARNINGS -Werror)
endif()
