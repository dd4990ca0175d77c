# VSTGUI as one static library; built only when something links to it.

set(vstgui "${VST3_SDK_DIR}/vstgui4")
if(WIN32)
    set(unit vstgui_win32.cpp)
else()
    set(unit vstgui_linux.cpp)
endif()
add_library(vstgui STATIC EXCLUDE_FROM_ALL "${vstgui}/vstgui/${unit}")
target_include_directories(vstgui SYSTEM PUBLIC "${vstgui}")
# The same for every user of the headers: they change the layout of classes.
target_compile_definitions(
    vstgui PUBLIC VSTGUI_ENABLE_DEPRECATED_METHODS=0 VSTGUI_LIVE_EDITING=0
                  VSTGUI_OPENGL_SUPPORT=0)
# Its messages name source files: not by where they lay on the machine that built them.
target_compile_options(vstgui PRIVATE -w "-fmacro-prefix-map=${vstgui}/=")
if(CORVANE_SANITIZE)
    # One huge unit: the undefined-behaviour checks alone take minutes and gigabytes to compile.
    target_compile_options(vstgui PRIVATE -fno-sanitize=undefined)
endif()

if(WIN32)
    # mingw's headers lack a few declarations of DirectComposition and DirectWrite.
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
