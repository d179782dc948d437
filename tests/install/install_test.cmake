# See CMakeLists.txt of this folder, which gives the variables.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

# Runs a player and demands exactly these lines.
function(expect_lines player expected)
    run(${player} ${ARGN})
    if(NOT output STREQUAL expected)
        message(FATAL_ERROR "${player} ${ARGN} printed\n${output}instead of\n${expected}")
    endif()
endfunction()

# Runs a player that has to fail with this exit status and this on stderr.
function(expect_failure player status error)
    execute_process(COMMAND ${player} ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL status OR NOT errors STREQUAL error OR NOT output STREQUAL "")
        message(FATAL_ERROR "${player} ${ARGN} gave ${result}, on stdout\n${output}\nand on stderr\n${errors}\n"
            "instead of ${status} and\n${error}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})

# Installed in one place and used in another: the package can be moved.
foreach(component runtime development)
    run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/first --component ${component})
endforeach()
file(RENAME ${WORK_DIR}/first ${WORK_DIR}/prefix)
set(prefix ${WORK_DIR}/prefix)
set(libraries ${prefix}/${LIB_DIR})

# A program that isn't ours finds no header but the installed ones, and all of a package go together.
set(includes "")
set(folders "")
foreach(package zoltmodel zoltplay)
    file(GLOB_RECURSE headers RELATIVE ${prefix}/include/${package} ${prefix}/include/${package}/*.h)
    list(LENGTH headers n_headers)
    if(n_headers LESS 10)
        message(FATAL_ERROR "only ${n_headers} headers of ${package} are installed")
    endif()
    foreach(header ${headers})
        string(APPEND includes "#include \"${header}\"\n")
    endforeach()
    list(APPEND folders -I${prefix}/include/${package})
    file(WRITE ${WORK_DIR}/headers.cpp "${includes}")
    run(${CXX} -std=c++20 -Wall -Wextra -Werror -fsyntax-only ${folders} ${WORK_DIR}/headers.cpp)
endforeach()

set(players "")
foreach(static ON OFF)
    set(build ${WORK_DIR}/player-${static})
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/player -B ${build} -G ${GENERATOR}
        -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${prefix} -DPLAYER_STATIC=${static})
    run(${CMAKE_COMMAND} --build ${build})
    list(APPEND players ${build}/player)
endforeach()

if(PKG_CONFIG)
    set(ENV{PKG_CONFIG_PATH} ${libraries}/pkgconfig)
    run(${PKG_CONFIG} --exists "zoltplay >= 1.0")
    run(${PKG_CONFIG} --cflags --libs zoltplay)
    separate_arguments(flags UNIX_COMMAND "${output}")
    run(${CXX} -std=c++20 -o ${WORK_DIR}/player-plain ${SOURCE_DIR}/examples/player/player.cpp ${flags}
        -Wl,-rpath,${libraries})
    list(APPEND players ${WORK_DIR}/player-plain)
else()
    message(STATUS "pkg-config isn't there: the .pc files stay untested")
endif()

run(${MAKE_MODEL} ${WORK_DIR}/grip.abc)
run(${MAKE_MODEL} ${WORK_DIR}/bare.abc --bare)
file(WRITE ${WORK_DIR}/text.abc "this is no model\n")

# By hand, at time t (ms): the hips stand at x = t / 100, the arm 10 above them, turned about z by t / 200 quarter
# turns; the hand is 5 along the arm, and halfway to 7 with the weight 0.5, and the socket 1 further: 7 from the arm.
# The layer lifts the arm by z = t / 50. At 200 ms the second animation begins to fade in, which it has done at 400 ms:
# in it the arm isn't turned, and the hips jump to 20, -1, 0 at its 100 ms and are at 20, -2, 0 at its end, all moved by
# its offset, z = 1. So at 300 ms the hips are at 11, -0.5, 0.5. 7 times the sine of 45 degrees is 4.950.
set(grip_lines
"0 ms  grip  7.000 10.000 0.000
100 ms  grip  5.950 14.950 2.000
200 ms  grip  2.000 17.000 4.000
300 ms  grip  15.950 14.450 6.500
400 ms  grip  27.000 8.000 9.000
")
# Without a weight set the layer is added everywhere, relative to its first key: the hand stays 5 from the arm.
set(hand_lines
"0 ms  hand  5.000 10.000 0.000
100 ms  hand  4.536 13.536 2.000
200 ms  hand  2.000 15.000 4.000
300 ms  hand  14.536 13.036 6.500
400 ms  hand  25.000 8.000 9.000
")
foreach(player ${players})
    expect_lines(${player} "${grip_lines}" ${WORK_DIR}/grip.abc wave REST nod)
    expect_lines(${player} "${hand_lines}" ${WORK_DIR}/bare.abc wave rest nod)
endforeach()

# A node that is named, on one player only: the arm, which the layer lifts.
list(GET players 0 player)
expect_lines(${player} "0 ms  arm  0.000 10.000 0.000\n100 ms  arm  1.000 10.000 2.000\n\
200 ms  arm  2.000 10.000 4.000\n300 ms  arm  1.500 10.000 6.000\n400 ms  arm  2.000 10.000 8.000\n"
    ${WORK_DIR}/grip.abc wave wave nod arm)

expect_failure(${player} 2 "usage: player MODEL FIRST SECOND LAYER [PLACE]\n" ${WORK_DIR}/grip.abc)
expect_failure(${player} 1 "player: nowhere.abc: can't be opened.\n" nowhere.abc wave rest nod)
expect_failure(${player} 1 "player: ${WORK_DIR}/text.abc: there is no section \"Header\"\n" ${WORK_DIR}/text.abc a b c)
expect_failure(${player} 1 "player: jump: the model has no such animation, or one without keys.\n" ${WORK_DIR}/grip.abc jump rest nod)
expect_failure(${player} 1 "player: tail: the model has no such socket or node.\n"
    ${WORK_DIR}/grip.abc wave rest nod tail)
