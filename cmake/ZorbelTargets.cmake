# The one place where compiler flags are set, and the functions by which every folder declares its targets.
include(GNUInstallDirs)

option(ZORBEL_SANITIZE_ADDRESS "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(ZORBEL_SANITIZE_THREAD "Build with ThreadSanitizer" OFF)
option(ZORBEL_FUZZ "Build the fuzz targets, everything instrumented for them; needs Clang and ZORBEL_SANITIZE_ADDRESS" OFF)

add_library(zorbel_flags INTERFACE)
target_compile_options(zorbel_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wunused -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC bug 105651: wrong warnings about std::string's own code.
    target_compile_options(zorbel_flags INTERFACE -Wno-restrict)
endif()
target_compile_definitions(zorbel_flags INTERFACE QT_NO_KEYWORDS)
# By which the places in a crash dump are found again in the program that wrote it.
target_link_options(zorbel_flags INTERFACE -Wl,--build-id)
if(ZORBEL_SANITIZE_ADDRESS)
    # The added checks make GCC 12 warn wrongly about std::regex.
    target_compile_options(zorbel_flags INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer
        -fno-sanitize-recover=undefined $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(zorbel_flags INTERFACE -fsanitize=address,undefined)
endif()
if(ZORBEL_FUZZ)
    target_compile_options(zorbel_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(ZORBEL_SANITIZE_THREAD)
    target_compile_options(zorbel_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer -Wno-tsan)
    target_link_options(zorbel_flags INTERFACE -fsanitize=thread)
endif()

# zorbel_headers(target PUBLIC|PRIVATE|INTERFACE folder…): the headers that lie directly in these folders (relative to
# this one) are found by this target, and with PUBLIC or INTERFACE by those that link it, as "path/from/the/top/Name.h".
# Each target has a folder of links of its own in the build folder, so that a header of a target that is not linked is
# not found.
function(zorbel_headers target visibility)
    set(links ${CMAKE_BINARY_DIR}/include/${target})
    set(wanted "")
    foreach(folder IN LISTS ARGN)
        cmake_path(ABSOLUTE_PATH folder NORMALIZE)
        string(REGEX REPLACE "/$" "" folder ${folder})
        file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)
        foreach(header IN LISTS headers)
            cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${CMAKE_SOURCE_DIR} OUTPUT_VARIABLE path)
            list(APPEND wanted ${links}/${path})
            if(NOT EXISTS ${links}/${path})
                cmake_path(GET path PARENT_PATH parent)
                file(MAKE_DIRECTORY ${links}/${parent})
                file(CREATE_LINK ${header} ${links}/${path} SYMBOLIC COPY_ON_ERROR)
            endif()
        endforeach()
    endforeach()
    # Those of headers that were moved or deleted.
    file(GLOB_RECURSE present LIST_DIRECTORIES false ${links}/*.h)
    list(REMOVE_ITEM present ${wanted})
    if(present)
        file(REMOVE ${present})
    endif()
    target_include_directories(${target} ${visibility} ${links})
endfunction()

# zorbel_library(name SOURCES … LINKS … [FOLDERS …]): a static library. FOLDERS, by default the folder it is declared in,
# hold its headers (see zorbel_headers). LINKS are public, so that who may know whom is read off the target graph.
function(zorbel_library name)
    cmake_parse_arguments(ARG "" "" "FOLDERS;SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    if(NOT ARG_FOLDERS)
        set(ARG_FOLDERS .)
    endif()
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC zorbel_flags ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
    zorbel_headers(${name} PUBLIC ${ARG_FOLDERS})
endfunction()

# zorbel_program(name SOURCES … LINKS …): an executable in the build's bin folder. It also finds the headers that lie
# beside it.
function(zorbel_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE zorbel_flags ${ARG_LINKS})
    zorbel_headers(${name} PRIVATE .)
endfunction()

# zorbel_test(name LABEL unit|service|ui|render SOURCES … LINKS … [TIMEOUT s] [ENVIRONMENT …]): one GoogleTest
# executable; ctest lists it as one test under its label. Tests labelled ui and render run on a virtual screen of their
# own, tests labelled service start their own archive. The target sanitizer_tests builds those labelled unit and service.
add_custom_target(sanitizer_tests)
function(zorbel_test name)
    cmake_parse_arguments(ARG "" "LABEL;TIMEOUT" "SOURCES;LINKS;ENVIRONMENT;LAUNCHER" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 1800) # for a hang; how long a test takes is the machine's affair
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE zorbel_flags zorbel_test_headers ${ARG_LINKS})
    if(ARG_LABEL MATCHES "^(ui|render)$")
        list(PREPEND ARG_LAUNCHER ${CMAKE_SOURCE_DIR}/scripts/with-display.sh)
    else()
        add_dependencies(sanitizer_tests ${name})
    endif()
    add_test(NAME ${name} COMMAND ${ARG_LAUNCHER} ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}> --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT}
        ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()

# zorbel_fuzz_target(name SOURCES … LINKS …): a libFuzzer program in the build's bin/fuzz folder.
add_custom_target(fuzz_targets)
function(zorbel_fuzz_target name)
    zorbel_program(fuzz_${name} ${ARGN})
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    target_compile_definitions(fuzz_${name} PRIVATE ZORBEL_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
    set_target_properties(fuzz_${name} PROPERTIES AUTOMOC OFF OUTPUT_NAME ${name}
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/fuzz)
    add_dependencies(fuzz_targets fuzz_${name})
endfunction()
