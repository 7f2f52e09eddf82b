# Which folder may see which: the one list that the link targets (folders.cmake) and the test of the
# includes (tests/check_arrows.cmake) are made from.

# The scene with all that it is made of, except meshes.
set(cadencora_scene "stage/base stage/scene/math stage/scene/keys stage/scene")

# "<folder>: <the folders that it may include besides itself>". A folder's row covers the folders
# below it that have no row of their own.
set(cadencora_arrows
    "plugin/host:"
    "plugin/keys: plugin/host"
    "plugin/math: plugin/host"
    "plugin/files: plugin/host"
    "plugin/sets: plugin/host plugin/files plugin/keys"
    "plugin/commands: plugin/host plugin/keys plugin/sets"
    "plugin/transfer: plugin/host plugin/files plugin/keys plugin/math plugin/sets"
    "plugin/shell: plugin/host plugin/keys plugin/sets plugin/commands plugin/transfer"
    "stage/base:"
    "stage/scene/math: stage/base"
    "stage/scene/keys: stage/base"
    "stage/scene: stage/base stage/scene/math stage/scene/keys"
    "stage/scene/mesh: stage/base stage/scene/math stage/scene/keys stage/scene"
    "stage/plot: ${cadencora_scene}"
    "stage/panels: ${cadencora_scene} plugin/host"
    "stage/user: ${cadencora_scene} stage/panels"
    "stage/formats/text: stage/base stage/scene/keys"
    "stage/formats/native: ${cadencora_scene} stage/formats/text"
    "stage/formats/bvh: ${cadencora_scene} stage/formats/text"
    "stage/formats/gltf/document: ${cadencora_scene}"
    "stage/formats/gltf/animation: ${cadencora_scene} stage/formats/gltf/document"
    "stage/formats/gltf/mesh: ${cadencora_scene} stage/scene/mesh stage/formats/gltf/document"
    "stage/formats/gltf/write: ${cadencora_scene} stage/formats/gltf/document stage/formats/gltf/animation"
    "stage/formats/gltf: ${cadencora_scene} stage/formats/gltf/document stage/formats/gltf/animation stage/formats/gltf/mesh stage/formats/gltf/write"
    "stage/formats: ${cadencora_scene} stage/formats/native stage/formats/bvh stage/formats/gltf"
    "stage/services: ${cadencora_scene} stage/panels stage/formats/native plugin/host"
    "stage/module: stage/base plugin/host"
    "stage/cli/explore: ${cadencora_scene} stage/panels stage/user stage/services stage/module"
    "stage/cli/report: ${cadencora_scene} stage/panels stage/user stage/module stage/cli/explore"
    "stage/cli/many: stage/base"
    "stage/cli/commands: ${cadencora_scene} stage/panels stage/user stage/formats stage/services stage/module stage/plot stage/cli/explore stage/cli/report stage/cli/many"
    "stage/cli: stage/base stage/scene stage/user stage/formats stage/module stage/cli/many stage/cli/report stage/cli/commands"
    "stage/cli/program: stage/cli"
    "stage/desktop/drawing: ${cadencora_scene} stage/scene/mesh stage/plot"
    "stage/desktop/widgets: ${cadencora_scene}"
    "stage/desktop/canvas: ${cadencora_scene} stage/scene/mesh stage/desktop/drawing"
    "stage/desktop/document: ${cadencora_scene} stage/panels stage/user stage/formats stage/formats/native stage/services stage/module stage/desktop/widgets"
    "stage/desktop/panels: ${cadencora_scene} stage/panels stage/desktop/widgets stage/desktop/document"
    "stage/desktop/views: ${cadencora_scene} stage/scene/mesh stage/plot stage/panels stage/user stage/desktop/drawing stage/desktop/canvas stage/desktop/widgets stage/desktop/document"
    "stage/desktop/steps: ${cadencora_scene} stage/formats stage/panels stage/user stage/desktop/widgets stage/desktop/document"
    "stage/desktop/app: ${cadencora_scene} stage/formats stage/module stage/desktop/drawing stage/desktop/canvas stage/desktop/widgets stage/desktop/document stage/desktop/panels stage/desktop/views stage/desktop/steps"
    "stage/desktop/program: stage/desktop/app")

# "<header>: <the folders that it may include>". Any folder of the same half may include these,
# whatever its own row says, since they include so little themselves.
set(cadencora_ground_headers
    "plugin/shell/tool_state.h: plugin/host"
    "stage/formats/format.h: ${cadencora_scene}")

# The folders that the row of one begins with.
macro(cadencora_row row folder allowed)
    string(REGEX MATCH "^[^:]*" ${folder} "${row}")
    string(REGEX REPLACE "^[^:]*:" "" ${allowed} "${row}")
    separate_arguments(${allowed})
endmacro()

# Sets `owner` to the folder whose row covers a file, which is given relative to the project; empty
# where no row does.
function(cadencora_owner file owner)
    set(best "")
    foreach(row ${cadencora_arrows})
        cadencora_row("${row}" folder allowed)
        string(LENGTH "${folder}" length)
        string(LENGTH "${best}" best_length)
        string(FIND "${file}" "${folder}/" at)
        if(at EQUAL 0 AND length GREATER best_length)
            set(best "${folder}")
        endif()
    endforeach()
    set(${owner} "${best}" PARENT_SCOPE)
endfunction()
