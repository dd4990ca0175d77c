# VSTGUI as one static library; built only when something links to it.

set(vstgui "${VST3_SDK_DIR}/vstgui4")
if(WIN32)
    # Its factory never gives back the device that GetDevice hands out: each loading of the module
    # would keep one, and a thread. Of that file, and of the unit that includes it, a mended copy.
    set(sources "${vstgui}/vstgui")
    set(mended "${PROJECT_BINARY_DIR}/vstgui")
    set(factory lib/platform/win32/win32factory.cpp)
    # corvane_mend(FILE TEXT REPLACEMENT OUTPUT)
    function(corvane_mend file text replacement output)
        file(READ "${sources}/${file}" content)
        string(REPLACE "${text}" "${replacement}" changed "${content}")
        if(changed STREQUAL content)
            message(FATAL_ERROR "${sources}/${file} is not that of the SDK this is made for")
        endif()
        file(CONFIGURE OUTPUT "${mended}/${output}" CONTENT "${changed}" @ONLY)
    endfunction()
    set(use "return std::make_shared<D2DGraphicsDeviceContext> (")
    corvane_mend(${factory} "${use}" "d2ddevice->Release ();\n\t${use}" win32factory.cpp)
    corvane_mend(vstgui_win32.cpp ${factory} "win32factory.cpp" vstgui_win32.cpp)
    set(unit "${mended}/vstgui_win32.cpp")
else()
    set(unit "${vstgui}/vstgui/vstgui_linux.cpp")
endif()
add_library(vstgui STATIC EXCLUDE_FROM_ALL "${unit}")
target_include_directories(vstgui SYSTEM PUBLIC "${vstgui}")
# The same for every user of the headers: they change the layout of classes.
target_compile_definitions(
    vstgui PUBLIC VSTGUI_ENABLE_DEPRECATED_METHODS=0 VSTGUI_LIVE_EDITING=0
                  VSTGUI_OPENGL_SUPPORT=0)
# Its messages name source files: not by where they lay on the machine that built them.
target_compile_options(vstgui PRIVATE -w "-fmacro-prefix-map=${vstgui}/="
                                      "-fmacro-prefix-map=${PROJECT_BINARY_DIR}/=")
if(CORVANE_SANITIZE)
    # One huge unit: the undefined-behaviour checks alone take minutes and gigabytes to compile.
    target_compile_options(vstgui PRIVATE -fno-sanitize=undefined)
endif()

if(WIN32)
    # mingw's headers lack a few declarations of DirectComposition and DirectWrite.
    target_compile_options(vstgui PRIVATE "SHELL:-iquote ${sources}"
                                          "SHELL:-iquote ${sources}/lib/platform/win32")
    target_include_directories(vstgui SYSTEM BEFORE
                               PUBLIC "${PROJECT_SOURCE_DIR}/cmake/shims")
    target_link_libraries(
        vstgui PUBLIC d2d1 dwrite windowscodecs d3d11 dwmapi shlwapi comctl32 ole32 oleaut32 uuid
                      gdi32 comdlg32 shell32)
else()
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(
        CORVANE_VSTGUI_DEPS REQUIRED IMPORTED_TARGET
        x11 xcb xcb-util xcb-cursor xcb-keysyms xcb-xkb xkbcommon xkbcommon-x11 glib-2.0 cairo
        pangocairo pangoft2 fontconfig freetype2)
    target_link_libraries(vstgui PUBLIC PkgConfig::CORVANE_VSTGUI_DEPS ${CMAKE_DL_LIBS})
endif()
