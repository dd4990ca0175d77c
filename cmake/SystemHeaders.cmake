# Header-only libraries of the system. The cross compiler must not see the rest of /usr/include,
# so each gets a folder with a link to it alone.

function(corvane_header_library target folder package)
    find_path(header_dir ${folder} PATHS /usr/include /usr/local/include NO_CACHE
              NO_CMAKE_FIND_ROOT_PATH)
    if(NOT header_dir)
        message(FATAL_ERROR "Headers '${folder}' not found: install ${package} "
                            "(scripts/setup.sh does)")
    endif()
    set(link_dir "${PROJECT_BINARY_DIR}/system-headers/${folder}")
    file(MAKE_DIRECTORY "${link_dir}")
    file(CREATE_LINK "${header_dir}/${folder}" "${link_dir}/${folder}" SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE "${link_dir}")
endfunction()

corvane_header_library(corvane_boost boost libboost-dev)
corvane_header_library(corvane_cli11 CLI libcli11-dev)
add_library(Boost::headers ALIAS corvane_boost)
add_library(CLI11::CLI11 ALIAS corvane_cli11)
