# SPDX-License-Identifier: Apache-2.0
# The installed package: libraries, public headers, find_package(Corvane COMPONENTS …) and a .pc file a component.
# Each component has an export set of its own, so that a distribution can put each into a package of its own.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Corvane)
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
if(BUILD_SHARED_LIBS)
    set(package_is_static FALSE)
else()
    set(package_is_static TRUE)
endif()

get_property(components GLOBAL PROPERTY CORVANE_COMPONENTS)
set(package_facts)
foreach(component IN LISTS components)
    string(TOLOWER ${component} lower)
    get_property(uses GLOBAL PROPERTY CORVANE_${component}_USES)
    get_property(pairs GLOBAL PROPERTY CORVANE_${component}_MODULES)

    install(TARGETS Corvane${component}
        EXPORT Corvane${component}Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component} NAMELINK_COMPONENT ${component}-dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component}-dev
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${component}-dev
        FILE_SET adapters DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${component}-dev)
    install(EXPORT Corvane${component}Targets
        NAMESPACE Corvane:: DESTINATION ${package_dir} COMPONENT ${component}-dev)

    # What a shared library links in private is its own affair; a static one hands it on to the program.
    string(APPEND package_facts "set(_corvane_${component}_uses \"${uses}\")\n")
    set(pc_requires ${uses})
    list(TRANSFORM pc_requires TOLOWER)
    list(TRANSFORM pc_requires PREPEND "corvane-")
    if(package_is_static)
        string(APPEND package_facts "set(_corvane_${component}_modules \"${pairs}\")\n")
        # Not Requires.private: it is read with --static only, which asks for archives of the whole chain below,
        # while our archives are linked with the shared libraries of the system.
        list(TRANSFORM pairs REPLACE "^[^=]*=" "")
        list(APPEND pc_requires ${pairs})
    endif()
    string(REPLACE ";" " " pc_requires "${pc_requires}")
    configure_file(cmake/corvane.pc.in ${PROJECT_BINARY_DIR}/package/corvane-${lower}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/package/corvane-${lower}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component}-dev)
endforeach()

configure_package_config_file(cmake/CorvaneConfig.cmake.in ${PROJECT_BINARY_DIR}/package/CorvaneConfig.cmake
    INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
# While the version begins with 0, every minor version may break what came before.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/CorvaneConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/CorvaneConfig.cmake ${PROJECT_BINARY_DIR}/package/CorvaneConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT Core-dev)
install(FILES cmake/CorvaneBundle.cmake DESTINATION ${package_dir} COMPONENT Core-dev OPTIONAL)
