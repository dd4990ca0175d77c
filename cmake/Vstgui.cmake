# VSTGUI as one static library; built only when something links to it.

set(vstgui "${VST3_SDK_DIR}/vstgui4")
set(sources "${vstgui}/vstgui")
set(mended "${PROJECT_BINARY_DIR}/vstgui")

# corvane_mend(FILE [TEXT REPLACEMENT]…): a copy of one of VSTGUI's files with other text in it, at
# its place below `mended`. The units are copied there too, so that they find it first.
function(corvane_mend file)
    file(READ "${sources}/${file}" content)
    set(at 1)
    while(at LESS ARGC)
        math(EXPR next "${at} + 1")
        string(REPLACE "${ARGV${at}}" "${ARGV${next}}" changed "${content}")
        if(changed STREQUAL content)
            message(FATAL_ERROR "${sources}/${file} is not that of the SDK this is made for")
        endif()
        set(content "${changed}")
        math(EXPR at "${at} + 2")
    endwhile()
    file(CONFIGURE OUTPUT "${mended}/${file}" CONTENT "${content}" @ONLY)
endfunction()

if(WIN32)
    # Its factory never gives back the device that GetDevice hands out: each loading of the module
    # would keep one, and a thread.
    set(use "return std::make_shared<D2DGraphicsDeviceContext> (")
    corvane_mend(lib/platform/win32/win32factory.cpp "${use}" "d2ddevice->Release ();\n\t${use}")
    set(unit vstgui_win32.cpp)
    set(folders lib/platform/win32)
else()
    # The factory of devices forgets none: each connection to the X server would keep one.
    set(search "\tfor (auto& dev : impl->devices)\n\t{\n\t\tif (dev->get () == device)")
    string(CONCAT forget "\tstd::erase_if (impl->devices, "
                  "[] (const auto& dev) { return dev.use_count () == 1; });\n")
    corvane_mend(lib/platform/linux/cairographicscontext.cpp "${search}" "${forget}${search}")
    # It knows no clipboard: what is asked for one can be set from outside.
    set(class "struct LinuxFactory::Impl")
    string(CONCAT hooks "bool (*clipboardWriter) (const SharedPointer<IDataPackage>&) = nullptr;\n"
                  "SharedPointer<IDataPackage> (*clipboardReader) () = nullptr;\n")
    set(todo "\t// TODO: Linux Clipboard Implementation\n\treturn")
    corvane_mend(
        lib/platform/linux/linuxfactory.cpp
        "${class}" "${hooks}${class}"
        "${todo} false;" "\treturn clipboardWriter && clipboardWriter (data);"
        "${todo} nullptr;" "\treturn clipboardReader ? clipboardReader () : nullptr;")
    # Its text field takes bytes for characters, goes to the start of the text where a selection is
    # typed over, leaves the cursor behind the end of a shorter text that is set, and can't copy a
    # selection that was made from its end.
    set(select "\tvoid selectAll ();\n")
    string(CONCAT hold "\tvoid hold ()\n\t{\n\t\tfor (auto* place : {&editState.cursor, "
                  "&editState.select_start, &editState.select_end})\n"
                  "\t\t\t*place = std::min (*place, getLength (this));\n\t}\n")
    set(set "\timpl->view->setText (text);\n")
    set(copy "\tauto txt = StringConvert{}.to_bytes (reinterpret_cast<const STB_CharT*> (uString.data () + editState.select_start)")
    corvane_mend(
        lib/platform/common/generictextedit.cpp
        "static_cast<int> (getText ().length ())" "getLength (this)"
        "static_cast<int> (self->getText ().length ())" "getLength (self)"
        "\tif (editState.select_start != editState.select_end)\n\t\tselectAll ();\n" ""
        "${select}" "${select}${hold}"
        "${set}" "${set}\timpl->view->hold ();\n"
        "${copy}" "\tstb_textedit_sortselection (&editState);\n${copy}")
    corvane_mend(vstgui.cpp)
    set(unit vstgui_linux.cpp)
    set(folders lib/platform/linux lib/platform/common)
endif()
corvane_mend(${unit})
add_library(vstgui STATIC EXCLUDE_FROM_ALL "${mended}/${unit}")
target_include_directories(vstgui SYSTEM PUBLIC "${vstgui}")
# For the copies of its files.
foreach(folder IN ITEMS . lib ${folders})
    target_compile_options(vstgui PRIVATE "SHELL:-iquote ${sources}/${folder}")
endforeach()
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
