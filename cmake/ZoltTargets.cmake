# What every target of the house shares: warnings are errors, floating point is evaluated as written, and
# paths in messages start at the top of the tree.
include(CheckCXXSourceRuns)
include(CheckLinkerFlag)

add_library(zolt_options INTERFACE)
target_compile_options(zolt_options INTERFACE
    -Wall -Wextra -Werror -ffp-contract=off -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # This compiler sees overlaps in std::string's operator+ that aren't there.
    # Tools that don't know the option must not trip over it.
    target_compile_options(zolt_options INTERFACE -Wno-restrict -Wno-unknown-warning-option)
endif()
target_include_directories(zolt_options INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
if(ZOLT_INLINE_NAMESPACE)
    target_compile_definitions(zolt_options INTERFACE ZOLT_INLINE_NAMESPACE=${ZOLT_INLINE_NAMESPACE})
endif()
if(ZOLT_SANITIZE)
    target_compile_options(zolt_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_definitions(zolt_options INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(zolt_options INTERFACE -fsanitize=address,undefined)
endif()
if(UNIX AND NOT APPLE AND NOT ZOLT_SANITIZE)
    # What runs on files of strangers is hardened where it costs next to nothing.
    target_compile_options(zolt_options INTERFACE
        $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong>)
    target_link_options(zolt_options INTERFACE $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)
    # A program has no pages of what it never calls, and where the loader knows that, a short table of the addresses that
    # it has to set right: both is time at each start.
    target_compile_options(zolt_options INTERFACE $<$<CONFIG:Release>:-ffunction-sections -fdata-sections>)
    target_link_options(zolt_options INTERFACE $<$<CONFIG:Release>:LINKER:--gc-sections>)
    if(NOT CMAKE_CROSSCOMPILING)
        set(CMAKE_REQUIRED_LINK_OPTIONS LINKER:-z,pack-relative-relocs)
        check_cxx_source_runs("int main() {}" ZOLT_HAS_PACKED_RELOCATIONS)
        unset(CMAKE_REQUIRED_LINK_OPTIONS)
        if(ZOLT_HAS_PACKED_RELOCATIONS)
            target_link_options(zolt_options INTERFACE $<$<CONFIG:Release>:LINKER:-z,pack-relative-relocs>)
        endif()
    endif()
endif()
if(MINGW)
    # A machine that runs this has none of the compiler's libraries.
    target_link_options(zolt_options INTERFACE -static)
    # printf of this C++ library knows the formats of the standard (%zu), and the compiler thinks it to be that of
    # Windows, which doesn't. The builds for Linux check the formats.
    target_compile_options(zolt_options INTERFACE -Wno-format -Wno-format-extra-args)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        # Single and double precision as everywhere else, not the 80 bits of the x87; and SSE needs a stack aligned to
        # 16 bytes, which a caller built by another compiler needn't have.
        target_compile_options(zolt_options INTERFACE
            $<$<COMPILE_LANGUAGE:CXX>:-msse2 -mfpmath=sse -mstackrealign>)
    endif()
endif()
if(ZOLT_BUILD_FUZZ)
    # Coverage for the fuzzers' eyes.
    target_compile_options(zolt_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# A target from all .cpp files of the current folder (not of folders below it).
function(zolt_add_library name kind)
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    if(NOT sources)
        # A folder without code yet still makes a target.
        set(sources ${CMAKE_CURRENT_BINARY_DIR}/${name}_empty.cpp)
        file(TOUCH ${sources})
    endif()
    add_library(${name} ${kind} ${sources})
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
    target_link_libraries(${name} PRIVATE zolt_options)
    if(UNIX AND NOT ZOLT_SANITIZE)
        # A library's calls of its own functions need no look-up by name.
        target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
        if(kind STREQUAL "SHARED")
            target_link_options(${name} PRIVATE LINKER:-Bsymbolic-functions)
        endif()
    endif()
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
endfunction()

# For what is started and is done in milliseconds. The shared C++ library has thousands of its own names looked up each
# time, which takes a tenth of the export of a small scene; linked in, it costs nothing that is measured. Its types are
# the same in both shapes, and memory comes from the C library, so what is linked in this way and what isn't may hand
# each other objects. What unwinds the stack stays shared: an exception may pass through a library that has C++ to itself.
check_linker_flag(CXX "-static-libstdc++;-shared-libgcc" ZOLT_HAS_STATIC_RUNTIME)
function(zolt_link_runtime name)
    if(UNIX AND ZOLT_HAS_STATIC_RUNTIME AND NOT ZOLT_SANITIZE)
        target_link_options(${name} PRIVATE -static-libstdc++ -shared-libgcc)
    endif()
    if(UNIX AND NOT ZOLT_SANITIZE)
        # As the linker has written it, bit by bit, a file lies in small pieces in the memory of the system, which it maps
        # one by one at each start; a copy lies there in large ones. An installed file is such a copy.
        add_custom_command(TARGET ${name} POST_BUILD
            COMMAND cp $<TARGET_FILE:${name}> $<TARGET_FILE:${name}>.copy
            COMMAND mv -f $<TARGET_FILE:${name}>.copy $<TARGET_FILE:${name}>
            VERBATIM)
    endif()
endfunction()

# A program that loads the plug-in has both stand-ins in it, whole, and lets the plug-in see what it calls of them.
function(zolt_host_plugin name)
    set(exports ${PROJECT_SOURCE_DIR}/tools/model/kelpexport/hostexports.map)
    target_link_libraries(${name} PRIVATE SAA zoltwin32)
    target_link_options(${name} PRIVATE LINKER:--dynamic-list=${exports})
    set_target_properties(${name} PROPERTIES
        LINK_LIBRARY_OVERRIDE "WHOLE_ARCHIVE,SAA,zoltwin32"
        LINK_DEPENDS ${exports})
endfunction()

# For what the tests run but shortly: with the sanitizers, compiling it optimised takes longer than that saves.
function(zolt_compile_soon name)
    if(ZOLT_SANITIZE AND NOT ZOLT_BUILD_FUZZ)
        target_compile_options(${name} PRIVATE -O0)
    endif()
endfunction()

# A GoogleTest program from all .cpp files of the current folder, known to CTest by its name.
function(zolt_add_tests name)
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE zolt_options ${ARGN} GTest::gtest GTest::gtest_main)
    # What is tested is optimised; the tests themselves only have to be compiled soon.
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1> $<$<CONFIG:RelWithDebInfo>:-O0>)
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests
        INSTALL_RPATH "$ORIGIN/../lib")
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

# The manual page and the shell completions of a program, which prints them itself: made whenever it is built, and
# installed with it. Further arguments are words ahead of the options that ask for them.
function(zolt_add_pages name)
    if(CMAKE_CROSSCOMPILING)
        return()
    endif()
    set(pages ${CMAKE_BINARY_DIR}/pages)
    file(MAKE_DIRECTORY ${pages})
    add_custom_command(TARGET ${name} POST_BUILD
        COMMAND ${name} ${ARGN} --man > ${pages}/${name}.1
        COMMAND ${name} ${ARGN} --completion bash > ${pages}/${name}.bash
        COMMAND ${name} ${ARGN} --completion zsh > ${pages}/${name}.zsh
        COMMAND ${name} ${ARGN} --completion fish > ${pages}/${name}.fish
        VERBATIM)
    install(FILES ${pages}/${name}.1 DESTINATION ${CMAKE_INSTALL_DATADIR}/man/man1 COMPONENT host)
    install(FILES ${pages}/${name}.bash RENAME ${name}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT host)
    install(FILES ${pages}/${name}.zsh RENAME _${name}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT host)
    install(FILES ${pages}/${name}.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT host)
endfunction()
