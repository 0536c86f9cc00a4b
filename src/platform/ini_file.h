// The settings file's text: sections of Name=text lines, read and written the way Qt's INI
// settings always wrote them, so that files of earlier releases keep working. Keys are paths
// ("Settings", "Other/Software/X"): the first part of a longer path names the section, and a
// key without a section lives under [General].
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace cvl::ini {

// Every value of the text by its key. Unreadable lines are skipped; a value written as a list
// ("a, b") is one text again, its items joined by ", ".
[[nodiscard]] std::map<std::string, std::string> parse(std::string_view text);
// The text of those values: [General] first, then the other sections.
[[nodiscard]] std::string format(const std::map<std::string, std::string>& values);

// A key as the file knows it: no empty parts ("a//b/" is "a/b").
[[nodiscard]] std::string normalizedKey(std::string_view key);

} // namespace cvl::ini
