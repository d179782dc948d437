# What `cmake --install` puts in place, below a prefix that can be moved:
#   component "runtime"      the shared library of the model code
#   component "development"  its headers, the static library, the CMake package and the pkg-config file
#   component "host"         the programs, the plug-in and the stand-in libraries, as far as they are built
# The first two are the run-time half alone, without the tool side, and need no third-party package.
include(CMakePackageConfigHelpers)

set(zolt_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/zoltmodel)
set(zolt_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zoltmodel)
set(zolt_runtime_folders zoltshared/stdzolt engine/model/src)

# Both libraries take the objects of the foundations and of the model code, so that one -lzoltmodel is enough. The
# archive has the name of the target that it is made from, so the two are built in a folder of their own.
set(zolt_runtime_objects $<TARGET_OBJECTS:stdzolt> $<TARGET_OBJECTS:zoltmodel>)
add_library(zoltmodel_shared SHARED ${zolt_runtime_objects})
add_library(zoltmodel_static STATIC ${zolt_runtime_objects})
target_link_libraries(zoltmodel_shared PRIVATE zolt_options)
if(NOT WIN32 AND NOT APPLE AND NOT (ZOLT_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    # Nothing of the run-time half may need the tool side. (Clang leaves the sanitizers to the program.)
    target_link_options(zoltmodel_shared PRIVATE LINKER:--no-undefined)
endif()
set_target_properties(zoltmodel_shared PROPERTIES
    EXPORT_NAME zoltmodel
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
foreach(target zoltmodel_shared zoltmodel_static)
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME zoltmodel
        LINKER_LANGUAGE CXX
        ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/package
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/package)
    target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${zolt_include_dir}>)
    target_compile_features(${target} INTERFACE cxx_std_20)
    if(ZOLT_SANITIZE)
        # A program that links instrumented code needs the sanitizers' runtime as well.
        target_link_options(${target} INTERFACE -fsanitize=address,undefined)
    endif()
endforeach()

install(TARGETS zoltmodel_shared zoltmodel_static EXPORT zoltmodelTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT zoltmodelTargets NAMESPACE zoltmodel:: DESTINATION ${zolt_package_dir} COMPONENT development)

foreach(folder ${zolt_runtime_folders})
    file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
    if(NOT WIN32)
        list(FILTER headers EXCLUDE REGEX "/win32[^/]*$")
    endif()
    install(FILES ${headers} DESTINATION ${zolt_include_dir}/${folder} COMPONENT development)
endforeach()

configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/zoltmodelConfig.cmake.in ${CMAKE_BINARY_DIR}/package/zoltmodelConfig.cmake
    INSTALL_DESTINATION ${zolt_package_dir})
write_basic_package_version_file(
    ${CMAKE_BINARY_DIR}/package/zoltmodelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_BINARY_DIR}/package/zoltmodelConfig.cmake ${CMAKE_BINARY_DIR}/package/zoltmodelConfigVersion.cmake
    DESTINATION ${zolt_package_dir} COMPONENT development)

# The pkg-config file finds the prefix from its own place.
file(RELATIVE_PATH zolt_pc_prefix /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
string(REGEX REPLACE "/$" "" zolt_pc_prefix ${zolt_pc_prefix})
set(zolt_pc_libs "")
if(ZOLT_SANITIZE)
    set(zolt_pc_libs " -fsanitize=address,undefined")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/zoltmodel.pc.in ${CMAKE_BINARY_DIR}/package/zoltmodel.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/zoltmodel.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# The programs look for the plug-in, and by their RPATH for the libraries, in the folder "lib" beside their own.
foreach(target zoltexport abctool ZoltExport SAA zoltscene zoltassimp zoltwin32)
    if(TARGET ${target})
        get_target_property(type ${target} TYPE)
        if(NOT type STREQUAL "INTERFACE_LIBRARY")
            install(TARGETS ${target}
                RUNTIME DESTINATION bin COMPONENT host
                LIBRARY DESTINATION lib COMPONENT host)
        endif()
    endif()
endforeach()
