# See CMakeLists.txt of this folder, which gives the variables.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/first --component host)
file(RENAME ${WORK_DIR}/first ${WORK_DIR}/prefix)

# What the programs print of themselves is where a shell and man look for it.
foreach(file man/man1/abctool.1 man/man1/zoltexport.1 bash-completion/completions/zoltexport zsh/site-functions/_abctool)
    file(STRINGS ${WORK_DIR}/prefix/share/${file} lines REGEX "overwrite|diff")
    if(NOT lines)
        message(FATAL_ERROR "${file} lacks the options")
    endif()
endforeach()

# The libraries of ours that the programs and the plug-in load are the installed ones.
if(LDD)
    foreach(file bin/zoltexport bin/abctool lib/ZoltExport.so lib/libzoltassimp.so lib/libzoltdraco.so
            lib/libzoltmeshopt.so)
        run(${LDD} ${WORK_DIR}/prefix/${file})
        string(FIND "${output}" "not found" missing)
        string(FIND "${output}" "${BINARY_DIR}/lib" built)
        if(NOT missing EQUAL -1 OR NOT built EQUAL -1)
            message(FATAL_ERROR "${file} loads\n${output}")
        endif()
    endforeach()
endif()

# Settings and log of the run stay out of the user's.
set(ENV{XDG_CONFIG_HOME} ${WORK_DIR}/state)
set(ENV{XDG_DATA_HOME} ${WORK_DIR}/state)
set(ENV{XDG_STATE_HOME} ${WORK_DIR}/state)
run(${WORK_DIR}/prefix/bin/zoltexport ${SOURCE_DIR}/examples/strider.gltf -o ${WORK_DIR}/strider.abc)
run(${WORK_DIR}/prefix/bin/abctool check ${WORK_DIR}/strider.abc)

# What isn't glTF needs a library that is loaded for it alone.
file(WRITE ${WORK_DIR}/tile.obj "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
set(export ${WORK_DIR}/prefix/bin/zoltexport ${WORK_DIR}/tile.obj --overwrite -o ${WORK_DIR}/tile.abc)
run(${export})
run(${WORK_DIR}/prefix/bin/abctool check ${WORK_DIR}/tile.abc)
file(REMOVE ${WORK_DIR}/prefix/lib/libzoltassimp.so)
execute_process(COMMAND ${export} RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE errors)
if(NOT result EQUAL 1 OR NOT errors MATCHES "tile.obj can't be read: the reader for files other than glTF can't be loaded: .*libzoltassimp.so")
    message(FATAL_ERROR "without its library the export gave ${result} and\n${errors}")
endif()
run(${WORK_DIR}/prefix/bin/zoltexport ${SOURCE_DIR}/examples/strider.gltf --overwrite -o ${WORK_DIR}/strider.abc)
