# One library per folder, made from the list of arrows: a folder links what it may include.

include(${CMAKE_CURRENT_LIST_DIR}/arrows.cmake)

add_library(cadencora_flags INTERFACE)
target_compile_options(cadencora_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                       -Wold-style-cast -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 takes the inlined assignment of short strings for overlapping copies.
    target_compile_options(cadencora_flags INTERFACE -Wno-restrict)
endif()
target_include_directories(cadencora_flags INTERFACE ${PROJECT_SOURCE_DIR})
if(CADENCORA_SANITIZE)
    target_compile_options(cadencora_flags INTERFACE -fsanitize=address,undefined
                           -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    if(CADENCORA_FUZZ)
        target_compile_options(cadencora_flags INTERFACE -fsanitize=fuzzer-no-link)
    endif()
    target_link_options(cadencora_flags INTERFACE -fsanitize=address,undefined)
endif()

# Makes the libraries of all folders of one half: "stage/formats/text" becomes stage_formats_text, an
# interface library where it has only headers. Folders that begin with one of the words after EXCEPT
# are left out, and so are folders named "program", whose sources are those of executables.
function(cadencora_folders half)
    cmake_parse_arguments(FOLDERS "" "" "EXCEPT" ${ARGN})
    foreach(row ${cadencora_arrows})
        cadencora_row("${row}" folder allowed)
        set(wanted TRUE)
        foreach(left_out ${FOLDERS_EXCEPT})
            string(FIND "${folder}/" "${left_out}/" at)
            if(at EQUAL 0)
                set(wanted FALSE)
            endif()
        endforeach()
        if(NOT folder MATCHES "^${half}/" OR folder MATCHES "/program$" OR NOT wanted)
            continue()
        endif()
        file(GLOB_RECURSE found RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
             ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
        set(sources "")
        foreach(source ${found})
            cadencora_owner("${source}" owner)
            if(owner STREQUAL folder)
                list(APPEND sources ${PROJECT_SOURCE_DIR}/${source})
            endif()
        endforeach()
        string(REPLACE "/" "_" target "${folder}")
        string(REPLACE "/" "_" links "${allowed}")
        if(sources)
            add_library(${target} STATIC ${sources})
            target_link_libraries(${target} PUBLIC cadencora_flags ${links})
        else()
            add_library(${target} INTERFACE)
            target_link_libraries(${target} INTERFACE cadencora_flags ${links})
        endif()
    endforeach()
endfunction()

# For programs that activate the plug-in.
function(cadencora_known_leaks target)
    if(CADENCORA_SANITIZE)
        target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/known_leaks.cpp)
    endif()
endfunction()
