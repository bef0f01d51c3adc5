# SPDX-License-Identifier: Apache-2.0
#[[
corvane_bundle(<executable target>
    [INFO <template.plist> | INFO <key> <value> …]
    [RESOURCES <file or folder> …]
    [INSTALL <arguments of install(), such as COMPONENT Runtime> …])

Gives a program its bundle: the Info dictionary and the resources that `Bundle::main()` finds at run time in
../share/<executable>, in the build tree and in the install tree alike. So that the build tree has that layout too,
a target without a RUNTIME_OUTPUT_DIRECTORY of its own is built into the folder "bin" of its build folder.

INFO is either one file, taken through configure_file(@ONLY), or pairs. A value is text unless it starts with "<":
then it is an element of a property list ("<integer>4</integer>", "<true/>"). CFBundleName and
CFBundleShortVersionString are the target's name and the project's version where no pair says otherwise.

RESOURCES are copied under their own names; a folder ("fr.lproj", "Pages") with all that it holds.

corvane_check_strings(<target> [PLAIN <key> …])

Has the build of a target with a bundle fail, with file and line, when the string tables in its RESOURCES are damaged
or do not have the same keys and placeholders in every language. PLAIN names keys whose texts are used without
arguments, so that a percent sign in them is one. Takes the program corvane-check-strings, of the component Text.
#]]
include_guard(GLOBAL)

function(corvane_bundle target)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "INFO;RESOURCES;INSTALL")
    if(ARG_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "corvane_bundle: what is ${ARG_UNPARSED_ARGUMENTS}?")
    endif()

    set(info ${CMAKE_CURRENT_BINARY_DIR}/${target}.bundle/Info.plist)
    list(LENGTH ARG_INFO length)
    if(length EQUAL 1)
        configure_file(${ARG_INFO} ${info} @ONLY)
    else()
        _corvane_info_dictionary(content ${target} "${PROJECT_VERSION}" "${ARG_INFO}")
        file(CONFIGURE OUTPUT ${info} CONTENT "@content@" @ONLY)
    endif()

    get_target_property(folder ${target} RUNTIME_OUTPUT_DIRECTORY)
    if(NOT folder)
        set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/bin)
    endif()
    set(share $<TARGET_FILE_DIR:${target}>/../share/$<TARGET_FILE_NAME:${target}>)
    set(installed ${CMAKE_INSTALL_BINDIR}/../share/$<TARGET_FILE_NAME:${target}>)
    if(NOT CMAKE_INSTALL_BINDIR)
        set(installed bin/../share/$<TARGET_FILE_NAME:${target}>)
    endif()

    install(FILES ${info} DESTINATION ${installed} ${ARG_INSTALL})
    set(copies COMMAND ${CMAKE_COMMAND} -E make_directory ${share}
               COMMAND ${CMAKE_COMMAND} -E copy_if_different ${info} ${share}/Info.plist)
    set(watched ${info})
    set(language_folders)
    foreach(resource IN LISTS ARG_RESOURCES)
        cmake_path(ABSOLUTE_PATH resource BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
        string(REGEX REPLACE "/$" "" resource ${resource})
        cmake_path(GET resource FILENAME name)
        if(IS_DIRECTORY ${resource})
            if(name MATCHES "\\.lproj$")
                list(APPEND language_folders ${resource})
            endif()
            file(GLOB_RECURSE inside CONFIGURE_DEPENDS ${resource}/*)
            list(APPEND watched ${inside})
            list(APPEND copies COMMAND ${CMAKE_COMMAND} -E copy_directory ${resource} ${share}/${name})
            install(DIRECTORY ${resource} DESTINATION ${installed} ${ARG_INSTALL})
        else()
            list(APPEND watched ${resource})
            list(APPEND copies COMMAND ${CMAKE_COMMAND} -E copy_if_different ${resource} ${share}/${name})
            install(FILES ${resource} DESTINATION ${installed} ${ARG_INSTALL})
        endif()
    endforeach()

    set_target_properties(${target} PROPERTIES CORVANE_LANGUAGE_FOLDERS "${language_folders}")

    # A target of its own, not a step after linking: a changed resource is copied without a relink.
    set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${target}.bundle/copied)
    add_custom_command(OUTPUT ${stamp} ${copies} COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
        DEPENDS ${watched} VERBATIM COMMENT "Copying the bundle of ${target}")
    add_custom_target(${target}_bundle DEPENDS ${stamp})
    add_dependencies(${target} ${target}_bundle)
endfunction()

function(corvane_check_strings target)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "PLAIN")
    get_target_property(folders ${target} CORVANE_LANGUAGE_FOLDERS)
    if(ARG_UNPARSED_ARGUMENTS OR NOT folders)
        message(FATAL_ERROR "corvane_check_strings(${target}) comes after corvane_bundle with language folders among "
                            "its RESOURCES, and takes PLAIN and keys; not: ${ARG_UNPARSED_ARGUMENTS}")
    endif()
    if(NOT TARGET Corvane::check-strings)
        message(FATAL_ERROR "corvane_check_strings(${target}) needs the component Text")
    endif()
    set(watched)
    foreach(folder IN LISTS folders)
        file(GLOB tables CONFIGURE_DEPENDS ${folder}/*.strings)
        list(APPEND watched ${tables})
    endforeach()
    list(TRANSFORM ARG_PLAIN REPLACE "(.+)" "--plain;\\1")
    # The folder of the Info dictionary, which names the development language, goes first.
    set(bundle ${CMAKE_CURRENT_BINARY_DIR}/${target}.bundle)
    set(stamp ${bundle}/checked)
    add_custom_command(OUTPUT ${stamp}
        COMMAND Corvane::check-strings ${ARG_PLAIN} ${bundle} ${folders}
        COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
        DEPENDS ${watched} ${bundle}/Info.plist VERBATIM COMMENT "Checking the string tables of ${target}")
    add_custom_target(${target}_strings DEPENDS ${stamp})
    add_dependencies(${target} ${target}_strings)
endfunction()

# The text of an Info dictionary of key and value pairs.
function(_corvane_info_dictionary result target version pairs)
    set(keys)
    set(body)
    list(LENGTH pairs length)
    math(EXPR odd "${length} % 2")
    if(odd)
        message(FATAL_ERROR "corvane_bundle(${target}): INFO is a file or pairs of key and value")
    endif()
    # By index: taking elements off the list would lose the escape of a semicolon in a value.
    set(at 0)
    while(at LESS length)
        math(EXPR next "${at} + 1")
        list(GET pairs ${at} key)
        list(GET pairs ${next} value)
        math(EXPR at "${at} + 2")
        list(APPEND keys ${key})
        _corvane_info_pair(body "${key}" "${value}")
    endwhile()
    if(NOT "CFBundleName" IN_LIST keys)
        _corvane_info_pair(body CFBundleName "${target}")
    endif()
    if(NOT "CFBundleShortVersionString" IN_LIST keys AND version)
        _corvane_info_pair(body CFBundleShortVersionString "${version}")
    endif()
    set(${result} "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n${body}</dict>\n</plist>\n"
        PARENT_SCOPE)
endfunction()

function(_corvane_info_pair result key value)
    if(NOT value MATCHES "^<")
        string(REPLACE "&" "&amp;" value "${value}")
        string(REPLACE "<" "&lt;" value "${value}")
        set(value "<string>${value}</string>")
    endif()
    set(${result} "${${result}}    <key>${key}</key>\n    ${value}\n" PARENT_SCOPE)
endfunction()
