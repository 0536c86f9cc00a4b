#include "core/registry.h"

namespace cvl {

Registry::Registry(SettingsStore& store)
    : store_(store) {}

void Registry::note(long code) {
    lastError_ =
        (code == ERROR_SUCCESS || code == ERROR_FILE_NOT_FOUND) ? std::string() : errorText(code);
}

std::string Registry::read(const std::string& subKey, const std::string& name) {
    std::string text;
    const long code = store_.queryValue(HKEY_LOCAL_MACHINE, subKey, name, text);
    note(code);
    return code == ERROR_SUCCESS ? text : std::string();
}

bool Registry::write(RegistryRoot root, const std::string& subKey, const std::string& name,
                     const std::string& text) {
    const long code = store_.setValue(root, subKey, name, text);
    note(code);
    return code == ERROR_SUCCESS;
}

long Registry::remove(RegistryRoot root, const std::string& subKey, const std::string& name) {
    const long code = store_.deleteValue(root, subKey, name);
    note(code);
    return code;
}

bool Registry::keyExists(RegistryRoot root, const std::string& subKey) {
    const long code = store_.openKey(root, subKey);
    note(code);
    return code == ERROR_SUCCESS;
}

Registry::SplitPath Registry::splitPath(std::string_view fullPath) {
    SplitPath split;
    if (!fullPath.starts_with("HKEY_")) {
        split.error = "Incorrect Format:" + std::string(fullPath);
        return split;
    }
    const std::size_t slash = fullPath.find('\\');
    split.root = registryRootFromName(fullPath.substr(0, slash));
    if (split.root == 0) {
        split.error = errorText(ERROR_BADKEY);
        return split;
    }
    split.subKey =
        slash == std::string_view::npos ? std::string() : std::string(fullPath.substr(slash + 1));
    return split;
}

std::string Registry::errorText(long code) {
    switch (code) {
    case ERROR_BADDB:
        return "The Registry Database is corrupt!";
    case ERROR_BADKEY:
        return "Bad Key Name";
    case ERROR_CANTOPEN:
        return "Can't Open Key";
    case ERROR_CANTREAD:
        return "Can't Read Key";
    case ERROR_ACCESS_DENIED:
        return "Access to this key is denied";
    case ERROR_CANTWRITE:
        return "Can't Write Key";
    case ERROR_OUTOFMEMORY:
        return "Out of memory";
    case ERROR_INVALID_PARAMETER:
        return "Invalid Parameter";
    case ERROR_MORE_DATA:
        return "There is more data than the buffer has been allocated to hold.";
    default:
        return "Undefined Error Code:" + std::to_string(code);
    }
}

} // namespace cvl
