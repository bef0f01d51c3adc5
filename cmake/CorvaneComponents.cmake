# SPDX-License-Identifier: Apache-2.0
# The five link targets, what folders they hold and what they link. A component is built from every source in its
# folders; the few files that live in a folder of another component are named under EXCEPT there and ALSO here.
#
# Every header is public and is installed as <corvane/…>, except those named under PRIVATE: they are for our own
# sources alone.

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# corvane_require(<name> <pkg-config module>): PkgConfig::<name>, found once.
function(corvane_require name module)
    if(NOT TARGET PkgConfig::${name})
        pkg_check_modules(${name} REQUIRED QUIET IMPORTED_TARGET GLOBAL ${module})
    endif()
endfunction()

# corvane_component(Core FOLDERS … [ALSO …] [EXCEPT …] [PRIVATE …] [USES Core …] [MODULES <name>=<module> …] [SYSTEM …])
function(corvane_component component)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "FOLDERS;ALSO;EXCEPT;PRIVATE;USES;MODULES;SYSTEM")
    set(patterns)
    foreach(folder IN LISTS ARG_FOLDERS)
        list(APPEND patterns "${PROJECT_SOURCE_DIR}/corvane/${folder}/*.cpp" "${PROJECT_SOURCE_DIR}/corvane/${folder}/*.h")
    endforeach()
    file(GLOB sources CONFIGURE_DEPENDS ${patterns})
    foreach(stem IN LISTS ARG_ALSO)
        file(GLOB also CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/corvane/${stem}.cpp"
                                         "${PROJECT_SOURCE_DIR}/corvane/${stem}.h")
        list(APPEND sources ${also})
    endforeach()
    foreach(stem IN LISTS ARG_EXCEPT)
        list(REMOVE_ITEM sources "${PROJECT_SOURCE_DIR}/corvane/${stem}.cpp" "${PROJECT_SOURCE_DIR}/corvane/${stem}.h")
    endforeach()
    set(units ${sources})
    list(FILTER units INCLUDE REGEX "\\.cpp$")
    if(NOT units)
        return() # nothing is in these rooms yet
    endif()
    set(headers ${sources})
    list(FILTER headers INCLUDE REGEX "\\.h$")
    foreach(stem IN LISTS ARG_PRIVATE)
        list(REMOVE_ITEM headers "${PROJECT_SOURCE_DIR}/corvane/${stem}.h")
    endforeach()
    # Adapters to a host's main loop are installed too, but need that host's headers to compile.
    set(adapters ${headers})
    list(FILTER adapters INCLUDE REGEX "Adapter\\.h$")
    list(FILTER headers EXCLUDE REGEX "Adapter\\.h$")

    set(target Corvane${component})
    string(TOLOWER ${component} lower)
    add_library(${target} ${sources})
    add_library(Corvane::${component} ALIAS ${target})
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_sources(${target} PUBLIC
        FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers}
        FILE_SET adapters TYPE HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${adapters})
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:corvane_warnings>)
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME corvane-${lower}
        EXPORT_NAME ${component}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${CORVANE_SOVERSION}
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        INSTALL_RPATH "$ORIGIN" # the components find each other wherever they are installed
        VERIFY_INTERFACE_HEADER_SETS ON # target all_verify_interface_header_sets: every header compiles alone
        INTERFACE_HEADER_SETS_TO_VERIFY HEADERS
        CXX_CLANG_TIDY "${CORVANE_CLANG_TIDY}")
    foreach(used IN LISTS ARG_USES)
        target_link_libraries(${target} PUBLIC Corvane${used})
    endforeach()
    foreach(system IN LISTS ARG_SYSTEM)
        target_link_libraries(${target} PUBLIC ${system})
    endforeach()
    foreach(pair IN LISTS ARG_MODULES)
        string(REPLACE "=" ";" pair "${pair}")
        list(GET pair 0 name)
        list(GET pair 1 module)
        corvane_require(${name} ${module})
        target_link_libraries(${target} PRIVATE PkgConfig::${name})
    endforeach()
    set_property(GLOBAL APPEND PROPERTY CORVANE_COMPONENTS ${component})
    set_property(GLOBAL PROPERTY CORVANE_${component}_USES "${ARG_USES}")
    set_property(GLOBAL PROPERTY CORVANE_${component}_MODULES "${ARG_MODULES}")
    set_property(GLOBAL PROPERTY CORVANE_${component}_SOURCES "${sources}")
endfunction()

set(CORVANE_ALL_COMPONENTS Core Text Files App Graphics)
set(CORVANE_BUILD_COMPONENTS ${CORVANE_ALL_COMPONENTS} CACHE STRING "components to build, a semicolon list")

macro(corvane_wanted component)
    if(${component} IN_LIST CORVANE_BUILD_COMPONENTS)
        corvane_component(${component} ${ARGN})
    endif()
endmacro()

# Points, sizes, rectangles and maps of the plane are plain records that Geometry needs without any graphics.
set(plane_records Platform/Graphics/CGPoint Platform/Graphics/CGSize Platform/Graphics/CGRect
                  Platform/Graphics/CGAffineTransform)

corvane_wanted(Core
    FOLDERS Platform/Base Platform/Dispatch Platform/Media LowLevel CoreDispatch ItemsManager Collections AppSupport
            Numbers Geometry AudioVisual
    ALSO ${plane_records}
    EXCEPT Collections/FinderOrder AppSupport/ReviewRequestMaker
    PRIVATE Platform/Dispatch/Futex Platform/Dispatch/LoopCore Platform/Dispatch/QueueCore
            Platform/Dispatch/ReadSection Platform/Dispatch/Task
            Platform/Dispatch/TimerThread Platform/Dispatch/WorkerPool
    SYSTEM Threads::Threads
    MODULES EXPAT=expat URIPARSER=liburiparser)
corvane_wanted(Text
    FOLDERS Platform/Text StringsAndText
    ALSO Collections/FinderOrder
    PRIVATE Platform/Text/Utf8
    USES Core
    MODULES ICU=icu-i18n ICUUC=icu-uc)
corvane_wanted(Files
    FOLDERS Platform/Files FilesAndData
    PRIVATE Platform/Files/CopyContents Platform/Files/FileIdentity Platform/Files/TypeIdentifierTable
    USES Core)
corvane_wanted(App
    FOLDERS Platform/Storage UserSettings UserKeychain
    ALSO AppSupport/ReviewRequestMaker
    PRIVATE Platform/Storage/Database Platform/Storage/DefaultsFile Platform/Storage/DefaultsStore
            Platform/Storage/DefaultsTable Platform/Storage/FolderWatcher Platform/Storage/KeychainPins
            Platform/Storage/PrivateFolder Platform/Storage/SecretServiceItems
            Platform/Storage/SecretServiceSession Platform/Storage/VaultCipher Platform/Storage/VaultFile
    USES Core Files
    MODULES SQLITE=sqlite3 SODIUM=libsodium SECRET=libsecret-1)
corvane_wanted(Graphics
    FOLDERS Platform/Graphics GraphicsUtilities CoreGraphics CoreAnimation
    EXCEPT ${plane_records}
    PRIVATE Platform/Graphics/ByteSource Platform/Graphics/ColourMatch Platform/Graphics/Exif
            Platform/Graphics/ImageCodec Platform/Graphics/RasterBuilder
    USES Core Files
    MODULES CAIRO=cairo JPEG=libjpeg PNG=libpng TIFF=libtiff-4 HEIF=libheif LCMS=lcms2)

# Headers alone, so nothing that a program would have to link.
corvane_require(JSON nlohmann_json)
if(TARGET CorvaneCore)
    target_link_libraries(CorvaneCore PRIVATE $<BUILD_INTERFACE:PkgConfig::JSON>)
endif()

# The library's own bundle tells its version.
set_source_files_properties(${PROJECT_SOURCE_DIR}/corvane/Platform/Base/Bundle.cpp PROPERTIES
    COMPILE_DEFINITIONS CORVANE_VERSION="${PROJECT_VERSION}")

get_property(built GLOBAL PROPERTY CORVANE_COMPONENTS)
add_library(CorvaneAll INTERFACE)
add_library(Corvane::Corvane ALIAS CorvaneAll)
foreach(component IN LISTS built)
    target_link_libraries(CorvaneAll INTERFACE Corvane${component})
endforeach()
