# SPDX-License-Identifier: Apache-2.0
# corvane_warnings: how our own code is compiled; never passed on to those who use the library.
add_library(corvane_warnings INTERFACE)
target_compile_options(corvane_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion -Wnon-virtual-dtor
    -Wold-style-cast -Wcast-qual -Woverloaded-virtual -Wimplicit-fallthrough -Wextra-semi
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    $<$<BOOL:${CORVANE_WARNINGS_AS_ERRORS}>:-Werror>)

if(CORVANE_SANITIZE)
    add_compile_options(-fsanitize=${CORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${CORVANE_SANITIZE})
endif()
