# Holds the folders to the arrows between them: reads every include of plugin/ and stage/ and
# compares it with what the folder may see. Run by the test "folders_include_only_what_they_may".
#   cmake -DSOURCE_DIR=<project> -P check_arrows.cmake

cmake_minimum_required(VERSION 3.25)

# <folder>: the folders that it may include besides itself.
set(arrows
    "plugin/host:"
    "plugin/keys:plugin/host"
    "plugin/math:plugin/host"
    "plugin/sets:plugin/host plugin/keys plugin/math"
    "plugin/commands:plugin/host plugin/keys plugin/math plugin/sets"
    "plugin/transfer:plugin/host plugin/keys plugin/math plugin/sets"
    "plugin/shell:plugin/host plugin/keys plugin/math plugin/sets plugin/commands plugin/transfer"
    "stage/base:"
    "stage/scene:stage/base"
    "stage/plot:stage/base stage/scene"
    "stage/panels:stage/base stage/scene plugin/host"
    "stage/formats:stage/base stage/scene"
    "stage/services:stage/base stage/scene stage/panels stage/formats plugin/host"
    "stage/module:stage/base plugin/host"
    "stage/cli:stage/base stage/scene stage/panels stage/formats stage/services stage/module stage/plot"
    "stage/desktop:stage/base stage/scene stage/panels stage/formats stage/services stage/module stage/plot")
set(state_header "plugin/shell/tool_state.h") # read by nearly all; includes plugin/host/ alone

set(wrong "")
set(checked 0)
foreach(arrow ${arrows})
    string(REPLACE ":" ";" parts "${arrow} ")
    list(GET parts 0 folder)
    string(REGEX REPLACE "^[^:]*:" "" allowed "${arrow}")
    separate_arguments(allowed)
    file(GLOB_RECURSE files ${SOURCE_DIR}/${folder}/*.h ${SOURCE_DIR}/${folder}/*.cpp)
    foreach(file ${files})
        math(EXPR checked "${checked} + 1")
        file(RELATIVE_PATH name ${SOURCE_DIR} ${file})
        file(STRINGS ${file} includes REGEX "^#include ")
        foreach(include ${includes})
            if(include MATCHES "^#include [<\"]Q" AND NOT folder STREQUAL "stage/desktop")
                list(APPEND wrong "${name}: ${include}")
            endif()
            if(NOT include MATCHES "^#include \"((plugin|stage)/[a-z]+)/")
                continue()
            endif()
            set(target ${CMAKE_MATCH_1})
            if(include MATCHES "${state_header}" AND name MATCHES "^plugin/")
                continue()
            endif()
            if(NOT target STREQUAL folder AND NOT target IN_LIST allowed)
                list(APPEND wrong "${name}: ${include}")
            endif()
        endforeach()
    endforeach()
endforeach()

file(STRINGS ${SOURCE_DIR}/${state_header} includes REGEX "^#include \"")
foreach(include ${includes})
    if(NOT include MATCHES "\"plugin/host/")
        list(APPEND wrong "${state_header}: ${include}")
    endif()
endforeach()

if(checked LESS 40)
    message(FATAL_ERROR "only ${checked} files were found below ${SOURCE_DIR}")
endif()
if(wrong)
    list(JOIN wrong "\n  " lines)
    message(FATAL_ERROR "includes against the arrows:\n  ${lines}")
endif()
message(STATUS "${checked} files keep to the arrows")
