#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace ruvo::ctl {

enum class ColorChoice { kAuto, kAlways, kNever };

// What a piece of text is, not how it looks.
enum class Role { kPlain, kStrong, kFatal, kError, kWarning, kInformation, kGood, kFaint };

// Paints text for a terminal, or leaves it alone.
class Style {
  public:
    // With kAuto, colour is for a terminal whose user has not set NO_COLOR.
    Style(ColorChoice choice, std::FILE* stream);

    bool colored() const { return colored_; }
    std::string paint(Role role, std::string_view text) const;

  private:
    bool colored_;
};

}  // namespace ruvo::ctl
