// The terminal: text in and out, whole characters whether it is a console or a pipe, PINs without an echo,
// and how far a slow command has come.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey::tool {

void Print(std::string_view text);
void PrintError(std::string_view text);
// As they are, also to a console.
void PrintBytes(View bytes);

// Somebody sits before it.
bool IsInteractive();

// Without its line end; throws ToolError when there is none. The question goes to the error output, so that
// the output stays clean.
std::string AskLine(std::string_view question);
// Not shown while it is typed; from a pipe, its next line.
Secret AskSecret(std::string_view question);
// The same twice, where somebody types.
Secret AskNewSecret(std::string_view question);

class Progress {
  public:
    explicit Progress(bool quiet) : m_quiet(quiet) {}
    // Says on the error output what is being done, and afterwards how long it took.
    void Step(const std::string& what, const std::function<void()>& work) const;

  private:
    const bool m_quiet;
};

}  // namespace kzr::softkey::tool
