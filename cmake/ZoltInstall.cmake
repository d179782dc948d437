# What `cmake --install` puts in place, below a prefix that can be moved:
#   component "runtime"      the shared libraries of the model code and of what plays it
#   component "development"  their headers, the static libraries, the CMake packages and the pkg-config files
#   component "host"         the programs, the plug-in and the stand-in libraries, as far as they are built
# The first two are the run-time half alone, without the tool side, and need no third-party package.
include(CMakePackageConfigHelpers)

find_package(Threads REQUIRED)
set(zolt_pc_definitions "")
if(ZOLT_INLINE_NAMESPACE)
    set(zolt_pc_definitions " -DZOLT_INLINE_NAMESPACE=${ZOLT_INLINE_NAMESPACE}")
endif()
# The pkg-config files find the prefix from their own place.
file(RELATIVE_PATH zolt_pc_prefix /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
string(REGEX REPLACE "/$" "" zolt_pc_prefix ${zolt_pc_prefix})
set(zolt_pc_libs "")
if(ZOLT_SANITIZE)
    set(zolt_pc_libs " -fsanitize=address,undefined")
endif()

# A package of a shared and a static library from the objects of some targets, and of the headers of some folders.
function(zolt_add_package name)
    cmake_parse_arguments(package "" "" "OBJECTS;FOLDERS" ${ARGN})
    set(include_dir ${CMAKE_INSTALL_INCLUDEDIR}/${name})
    set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
    set(objects "")
    foreach(target ${package_OBJECTS})
        list(APPEND objects $<TARGET_OBJECTS:${target}>)
    endforeach()
    # The archive has the name of the target that it is made from, so the two are built in a folder of their own.
    add_library(${name}_shared SHARED ${objects})
    add_library(${name}_static STATIC ${objects})
    target_link_libraries(${name}_shared PRIVATE zolt_options)
    if(NOT WIN32 AND NOT APPLE AND NOT (ZOLT_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
        # Nothing of the run-time half may need the tool side. (Clang leaves the sanitizers to the program.)
        target_link_options(${name}_shared PRIVATE LINKER:--no-undefined)
    endif()
    if(MINGW)
        # Each library has the compiler's own within it; they must not meet in what links two of them.
        target_link_options(${name}_shared PRIVATE LINKER:--exclude-libs,ALL)
    endif()
    set_target_properties(${name}_shared PROPERTIES
        EXPORT_NAME ${name}
        INSTALL_RPATH "$ORIGIN"
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    foreach(target ${name}_shared ${name}_static)
        set_target_properties(${target} PROPERTIES
            OUTPUT_NAME ${name}
            LINKER_LANGUAGE CXX
            ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/package
            LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/package)
        target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${include_dir}>)
        target_compile_features(${target} INTERFACE cxx_std_20)
        if(ZOLT_INLINE_NAMESPACE)
            target_compile_definitions(${target} INTERFACE ZOLT_INLINE_NAMESPACE=${ZOLT_INLINE_NAMESPACE})
        endif()
        if(ZOLT_SANITIZE)
            # A program that links instrumented code needs the sanitizers' runtime as well.
            target_link_options(${target} INTERFACE -fsanitize=address,undefined)
        endif()
    endforeach()

    install(TARGETS ${name}_shared ${name}_static EXPORT ${name}Targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
    install(EXPORT ${name}Targets NAMESPACE ${name}:: DESTINATION ${package_dir} COMPONENT development)
    foreach(folder ${package_FOLDERS})
        file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
        # What no caller includes, and what is of another package or platform.
        list(FILTER headers EXCLUDE REGEX "/zolt/(handles|model)[.]h$")
        if(NOT WIN32)
            list(FILTER headers EXCLUDE REGEX "/win32[^/]*$")
        endif()
        install(FILES ${headers} DESTINATION ${include_dir}/${folder} COMPONENT development)
    endforeach()

    configure_package_config_file(
        ${PROJECT_SOURCE_DIR}/cmake/${name}Config.cmake.in ${CMAKE_BINARY_DIR}/package/${name}Config.cmake
        INSTALL_DESTINATION ${package_dir})
    write_basic_package_version_file(
        ${CMAKE_BINARY_DIR}/package/${name}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
    install(FILES
        ${CMAKE_BINARY_DIR}/package/${name}Config.cmake ${CMAKE_BINARY_DIR}/package/${name}ConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)
    set(zolt_include_dir ${include_dir})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${CMAKE_BINARY_DIR}/package/${name}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/package/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

# The model code with its foundations, so that one -lzoltmodel is enough; and what plays, with the C interface.
zolt_add_package(zoltmodel OBJECTS stdzolt zoltmodel FOLDERS zoltshared/stdzolt engine/model/src)
install(FILES ${PROJECT_SOURCE_DIR}/zolt/model.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zoltmodel/zolt
    COMPONENT development)
zolt_add_package(zoltplay OBJECTS zoltplay zoltc FOLDERS engine/play zolt)
target_link_libraries(zoltplay_shared PUBLIC zoltmodel_shared Threads::Threads)
target_link_libraries(zoltplay_static PUBLIC zoltmodel_static Threads::Threads)

# The programs look for the plug-in and the libraries in the folder "lib" beside their own.
foreach(target zoltexport abctool ZoltExport SAA zoltassimp zoltdraco zoltmeshopt)
    if(TARGET ${target})
        get_target_property(type ${target} TYPE)
        if(NOT type STREQUAL "STATIC_LIBRARY")
            install(TARGETS ${target}
                RUNTIME DESTINATION bin COMPONENT host
                LIBRARY DESTINATION lib COMPONENT host)
        endif()
    endif()
endforeach()
