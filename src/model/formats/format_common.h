// Pieces shared by the readers and writers of all file formats: whole-file input,
// name endings and the message texts that more than one format reports.
#pragma once

#include <string>
#include <string_view>

namespace nurex {

// Reads the file whole into `text`; "cannot open ... for input" and false on failure.
bool readWholeFile(const std::string& fileName, std::string& text);

bool endsWith(std::string_view text, std::string_view tail);

// "the legacy *.mci format is deprecated, ..." for format name "*.mci" or "*.mp".
std::string legacyFormatDeprecated(const std::string& formatName);
std::string signalDeclaredTwice(const std::string& signal, const std::string& file, unsigned long line);
std::string dummySignalHasInitialValue(const std::string& signal);
std::string dummyTransitionHasSign(const std::string& transition);
std::string unknownFileExtension(const std::string& fileName);

}  // namespace nurex
