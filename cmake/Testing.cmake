# GoogleTest, built with our own flags (sanitizers, cross compiler), and the way tests register.

if(NOT CORVANE_TESTS)
    return()
endif()

set(CORVANE_GTEST_DIR "/usr/src/googletest" CACHE PATH "Folder of GoogleTest's sources")
if(NOT EXISTS "${CORVANE_GTEST_DIR}/googletest/src/gtest-all.cc")
    message(FATAL_ERROR "No GoogleTest in '${CORVANE_GTEST_DIR}': install googletest "
                        "(scripts/setup.sh does), set CORVANE_GTEST_DIR, or configure with "
                        "-DCORVANE_TESTS=OFF")
endif()
set(gtest "${CORVANE_GTEST_DIR}/googletest")
set(gmock "${CORVANE_GTEST_DIR}/googlemock")
add_library(corvane_gtest STATIC EXCLUDE_FROM_ALL "${gtest}/src/gtest-all.cc"
            "${gmock}/src/gmock-all.cc" "${gmock}/src/gmock_main.cc")
target_include_directories(corvane_gtest SYSTEM PUBLIC "${gtest}/include" "${gmock}/include")
target_include_directories(corvane_gtest SYSTEM PRIVATE "${gtest}" "${gmock}")
target_compile_options(corvane_gtest PRIVATE -w)
include(GoogleTest)

# Where tests find the built artefacts; Wine shows the root of the file system as drive Z.
if(WIN32)
    set(CORVANE_TEST_ROOT "Z:")
endif()

# corvane_add_test(NAME name SOURCES file… [LIBS library…] [LABELS quick|slow] [TIMEOUT seconds])
#
# A GoogleTest program, each of its cases registered with ctest. LABELS is `quick` unless given.
# The sources see CORVANE_MODULE, CORVANE_HOST (paths of the built bundle and command-line host)
# and CORVANE_SOURCE_DIR as string literals.
function(corvane_add_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS")
    if(NOT arg_LABELS)
        set(arg_LABELS quick)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 600)
    endif()
    add_executable(${arg_NAME} ${arg_SOURCES})
    target_link_libraries(${arg_NAME} PRIVATE corvane_warnings ${arg_LIBS} corvane_gtest)
    target_compile_definitions(
        ${arg_NAME}
        PRIVATE
            "CORVANE_MODULE=\"${CORVANE_TEST_ROOT}${CORVANE_BUNDLE}\""
            "CORVANE_HOST=\"${CORVANE_TEST_ROOT}${CORVANE_DIST_DIR}/bin/corvane-host${CMAKE_EXECUTABLE_SUFFIX}\""
            "CORVANE_SOURCE_DIR=\"${CORVANE_TEST_ROOT}${PROJECT_SOURCE_DIR}\"")
    # Only what loads a module or runs the program has to wait for them.
    if(arg_LIBS MATCHES "corvane_host")
        add_dependencies(${arg_NAME} corvane_plugin corvane-host)
    endif()
    gtest_discover_tests(
        ${arg_NAME} TEST_PREFIX "${arg_NAME}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
        PROPERTIES LABELS "${arg_LABELS}" TIMEOUT ${arg_TIMEOUT})
endfunction()

# Runs the SDK's own conformance test on the bundle.
function(corvane_add_conformance_test)
    set_target_properties(validator PROPERTIES EXCLUDE_FROM_ALL OFF)
    add_test(NAME validator COMMAND validator "${CORVANE_TEST_ROOT}${CORVANE_BUNDLE}")
    add_test(NAME validator.extensive COMMAND validator -e "${CORVANE_TEST_ROOT}${CORVANE_BUNDLE}")
    set_tests_properties(validator PROPERTIES LABELS quick TIMEOUT 300)
    set_tests_properties(validator.extensive PROPERTIES LABELS slow TIMEOUT 900)
endfunction()
