# One library per folder: cadencora_folder(<target> LINKS <targets>...) makes a static library of
# the folder's sources, or an interface library where it has headers alone. What a folder may link
# is what it may include; tests/check_arrows.cmake holds the folders to it.

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

function(cadencora_folder target)
    cmake_parse_arguments(FOLDER "" "" "LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    if(sources)
        add_library(${target} STATIC ${sources})
        target_link_libraries(${target} PUBLIC cadencora_flags ${FOLDER_LINKS})
    else()
        add_library(${target} INTERFACE)
        target_link_libraries(${target} INTERFACE cadencora_flags ${FOLDER_LINKS})
    endif()
endfunction()

# For programs that activate the plug-in.
function(cadencora_known_leaks target)
    if(CADENCORA_SANITIZE)
        target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/known_leaks.cpp)
    endif()
endfunction()
