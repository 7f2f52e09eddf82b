// "File IO 2": motion files, one envelope after another.

#include "stage/formats/native/motion_file.h"
#include "stage/services/file_paths.h"
#include "stage/services/gate.h"
#include "stage/services/tables.h"

namespace cadencora::stage {

namespace {

constexpr SlotName service = "File IO 2";

template <class State>
std::uintptr_t word(State state) {
    return reinterpret_cast<std::uintptr_t>(state);
}

void requireMode(int mode) {
    if (mode != host::motionFileMode) throw MisuseError{"file mode " + std::to_string(mode)};
}

// One name for a file, however its path is written.
std::filesystem::path dryName(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(path, ignored);
}

host::SaveState openSave(Host& host, std::string_view text, int mode) {
    requireMode(mode);
    auto path = resolvePath(text, host.files.chosenDirectories);
    if (!path) {
        host.report(path.problem());
        return nullptr;
    }
    SaveFile save{path.value(), std::nullopt, {}};
    if (host.options().writeFiles) {
        auto file = AtomicFile::create(save.path);
        if (!file) {
            host.report(file.problem());
            return nullptr;
        }
        save.file = std::move(file.value());
    } else if (auto writable = checkWritable(save.path); !writable) {
        host.report(writable.problem());
        return nullptr;
    }
    const std::uintptr_t handle = host.files.nextHandle++;
    host.files.saves.emplace(handle, std::move(save));
    return reinterpret_cast<host::SaveState>(handle);
}

void closeSave(Host& host, host::SaveState state) {
    const auto found = host.files.saves.find(word(state));
    if (found == host.files.saves.end()) throw MisuseError{"not an open save state"};
    SaveFile save = std::move(found->second);
    host.files.saves.erase(found);
    if (!save.file) {
        host.files.dry[dryName(save.path)] = std::move(save.text);
        return;
    }
    save.file->write(save.text);
    // A clip is hundreds of small files: waiting for the disk at each would be most of the time.
    if (auto written = save.file->commit(AtomicFile::Sync::later); !written)
        return host.report(written.problem());
    host.files.written.push_back(save.path);
}

Result<std::string> motionText(Host& host, const std::filesystem::path& path) {
    const auto dry = host.files.dry.find(dryName(path));
    if (dry != host.files.dry.end()) return dry->second;
    return readFile(path);
}

host::LoadState openLoad(Host& host, std::string_view text, int mode) {
    requireMode(mode);
    const auto refuse = [&](Problem problem) {
        host.report(std::move(problem));
        return nullptr;
    };
    auto path = resolvePath(text, host.files.chosenDirectories);
    if (!path) return refuse(path.problem());
    auto bytes = motionText(host, path.value());
    if (!bytes) return refuse(bytes.problem());
    auto envelopes = parseEnvelopes(bytes.value(), path.value().string());
    if (!envelopes) return refuse(envelopes.problem());
    const std::uintptr_t handle = host.files.nextHandle++;
    host.files.loads.emplace(handle, LoadFile{path.value(), std::move(envelopes.value())});
    return reinterpret_cast<host::LoadState>(handle);
}

void closeLoad(Host& host, host::LoadState state) {
    if (host.files.loads.erase(word(state)) == 0) throw MisuseError{"not an open load state"};
}

} // namespace

host::FileIOFuncs& fileIOFuncs() {
    static host::FileIOFuncs table{
        .openSave = gate<service, "openSave", &openSave>,
        .closeSave = gate<service, "closeSave", &closeSave>,
        .openLoad = gate<service, "openLoad", &openLoad>,
        .closeLoad = gate<service, "closeLoad", &closeLoad>,
    };
    return table;
}

} // namespace cadencora::stage
