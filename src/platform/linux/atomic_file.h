// Whole files written so that a crash leaves either the old file or the new one, never half a
// file: a temporary file beside it, synced, then renamed into place.
#pragma once

#include <string>
#include <string_view>

namespace cvl {

// Creates the missing folders of `path`, as `mkdir -p` would for its parent.
void makeParentFolders(const std::string& path);

// Replaces `path` with `bytes`, with the usual permissions for a new file. False when the
// folder cannot be written; the old file is then left as it was.
[[nodiscard]] bool writeFileAtomically(const std::string& path, std::string_view bytes);

} // namespace cvl
