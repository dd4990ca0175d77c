# Linked by our own targets only; other people's headers come in as system headers.

add_library(corvane_warnings INTERFACE)
target_compile_options(
    corvane_warnings
    INTERFACE -Wall -Wextra -Wpedantic -Wshadow $<$<BOOL:${CORVANE_WERROR}>:-Werror>)
# Own headers are included from the root of the tree.
target_include_directories(corvane_warnings INTERFACE "${PROJECT_SOURCE_DIR}")
