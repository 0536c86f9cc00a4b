// A registry path and a value, as the settings file or a caller hands them over: the path
// split into its root and key, and the value written through the INI store and read back by
// another store from the file. The input is the path, then optionally a NUL and the value's
// name, then a NUL and its text.
#include "core/registry.h"
#include "fuzz_support.h"
#include "platform/linux/ini_settings_store.h"
#include "temp_folder.h"
#include "text/utf8.h"

#include <cstdio>

using namespace cvl;

namespace {

struct State {
    test::TempFolder folder;
    std::uint64_t round = 0;
};

// The store takes UTF-8 text; other bytes are read as Latin-1, as the server file's are.
std::string utf8Text(std::string_view bytes) {
    return utf8::isValid(bytes) ? std::string(bytes) : utf8::fromLatin1(bytes);
}

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            parts.emplace_back();
        } else {
            parts.back() += static_cast<char>(data[i]);
        }
    }
    const std::string path = utf8Text(parts[0]);
    const std::string name = parts.size() > 1 ? utf8Text(parts[1]) : "Settings";
    const std::string text = parts.size() > 2 ? utf8Text(parts[2]) : "YES:59:Minutes/s:NA:36";

    const Registry::SplitPath split = Registry::splitPath(path);
    if (!split.error.empty()) {
        fuzz::require(split.root == 0 && split.subKey.empty());
        return 0;
    }
    const std::string rootName = registryRootName(split.root);
    fuzz::require(path == rootName || path == rootName + '\\' + split.subKey);

    const std::string written = state->folder.filePath(std::to_string(++state->round) + ".conf");
    const std::string read = written + ".read";
    bool stored = false;
    {
        IniSettingsStore writer(written);
        Registry registry(writer);
        stored = registry.write(split.root, split.subKey, name, text);
    }
    fuzz::require(std::rename(written.c_str(), read.c_str()) == 0 || !stored);
    std::string back;
    const long code = IniSettingsStore(read).queryValue(split.root, split.subKey, name, back);
    std::remove(read.c_str());
    fuzz::require(!stored || (code == ERROR_SUCCESS && back == text));
    return 0;
}
