# What all code is compiled with, ours and the SDK's.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug or Release" FORCE)
endif()

if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(CORVANE_CCACHE ccache)
    mark_as_advanced(CORVANE_CCACHE)
    if(CORVANE_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER "${CORVANE_CCACHE}")
    endif()
endif()

# No contraction and no -march: the same samples on every x86-64.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-ffp-contract=off>)

# One floating-point and debug setting for every user of the SDK's headers.
add_compile_definitions($<IF:$<CONFIG:Debug>,DEVELOPMENT=1,RELEASE=1>)

# What could be made of a fault ends the process instead.
add_compile_options($<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-fstack-protector-strong>)

if(WIN32)
    enable_language(RC)
    # Without the last one, strict C++ has no M_PI there.
    add_compile_definitions(_WIN32_WINNT=0x0A00 NOMINMAX UNICODE _UNICODE _USE_MATH_DEFINES)
    # Nothing but system libraries may be needed on the user's machine, and the same sources give
    # the same file.
    add_link_options(-static -static-libgcc -static-libstdc++ -Wl,--gc-sections
                     -Wl,--no-insert-timestamp -fstack-protector-strong)
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-ffunction-sections>
                        $<$<COMPILE_LANGUAGE:CXX>:-fdata-sections>)
else()
    find_package(Threads REQUIRED)
    link_libraries(Threads::Threads)
    add_link_options(-Wl,-z,relro -Wl,-z,now)
endif()

if(CORVANE_SANITIZE)
    # Lines are all that a report needs to know, and compile a fifth faster than the rest does.
    set(flags -fsanitize=${CORVANE_SANITIZE} -fno-omit-frame-pointer -O1 -g1)
    # Without vptr: the plug-in and its host share interfaces, not type information.
    if(CORVANE_SANITIZE MATCHES "undefined")
        list(APPEND flags -fno-sanitize-recover=undefined -fno-sanitize=vptr)
    endif()
    add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:${flags}>")
    add_link_options(-fsanitize=${CORVANE_SANITIZE})
endif()
