# Turns sources into a VST3 bundle.

set(CORVANE_BUNDLE_NAME "Corvane QVX77x")
if(WIN32)
    set(CORVANE_BUNDLE "${CORVANE_DIST_DIR}/windows/${CORVANE_BUNDLE_NAME}.vst3")
    set(CORVANE_BUNDLE_SYSTEM x86_64-win)
else()
    set(CORVANE_BUNDLE "${CORVANE_DIST_DIR}/linux/${CORVANE_BUNDLE_NAME}.vst3")
    set(CORVANE_BUNDLE_SYSTEM x86_64-linux)
endif()

# corvane_add_vst3_module(TARGET SOURCES file… [LIBS library…])
#
# Makes the module CORVANE_BUNDLE out of the sources and the SDK's entry file for the system. The
# sources must define GetPluginFactory; only the entry points are exported.
function(corvane_add_vst3_module target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
    set(main "${VST3_SDK_DIR}/public.sdk/source/main")
    set(name "${CORVANE_BUNDLE_NAME}")

    add_library(${target} MODULE ${arg_SOURCES})
    target_link_libraries(${target} PRIVATE corvane_warnings ${arg_LIBS} vst3sdk)
    set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME "${name}")

    if(WIN32)
        set(entry "${main}/dllmain.cpp")
        configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" version.rc @ONLY)
        target_sources(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/version.rc")
        set_target_properties(${target} PROPERTIES SUFFIX ".vst3")
        # The linker's own choice of the address depends on the folder that the module lies in.
        target_link_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-s>
                            -Wl,--image-base,0x180000000)
    else()
        set(entry "${main}/linuxmain.cpp")
        set_target_properties(
            ${target} PROPERTIES SUFFIX ".so" LINK_DEPENDS
                                 "${PROJECT_SOURCE_DIR}/cmake/module-exports.map")
        target_link_options(
            ${target} PRIVATE
            "-Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/module-exports.map"
            # The types of the desktop's libraries can't be registered twice in a process, so the
            # module and with it these libraries stay when a host unloads it.
            -Wl,-z,nodelete)
        if(NOT CORVANE_SANITIZE)
            # Hosts bring older C++ runtimes along; ours must not depend on theirs.
            target_link_options(${target} PRIVATE -Wl,--no-undefined -static-libstdc++
                                -static-libgcc)
        endif()
    endif()
    target_sources(${target} PRIVATE "${entry}")
    set_source_files_properties("${entry}" PROPERTIES COMPILE_OPTIONS -w)
    set_target_properties(
        ${target} PROPERTIES LIBRARY_OUTPUT_DIRECTORY
                             "${CORVANE_BUNDLE}/Contents/${CORVANE_BUNDLE_SYSTEM}")

    # Lets hosts list the classes without loading the module. A program under a sanitizer or for
    # another system can't always run here, and a bundle works without the file.
    if(NOT CORVANE_SANITIZE AND (NOT CMAKE_CROSSCOMPILING OR CMAKE_CROSSCOMPILING_EMULATOR))
        add_custom_command(
            OUTPUT "${CORVANE_BUNDLE}/Contents/Resources/moduleinfo.json"
            COMMAND
                "${CMAKE_COMMAND}" "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}"
                "-DTOOL=$<TARGET_FILE:moduleinfotool>" "-DBUNDLE=${CORVANE_BUNDLE}"
                "-DVERSION=${PROJECT_VERSION}" -P "${PROJECT_SOURCE_DIR}/cmake/ModuleInfo.cmake"
            DEPENDS moduleinfotool ${target} "${PROJECT_SOURCE_DIR}/cmake/ModuleInfo.cmake"
            COMMENT "Writing moduleinfo.json"
            VERBATIM)
        add_custom_target(${target}_info ALL
                          DEPENDS "${CORVANE_BUNDLE}/Contents/Resources/moduleinfo.json")
    endif()
endfunction()
