#pragma once

/// \file
/// Names of files made out of the names of others.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// What a pattern may speak of.
struct NameFields {
    std::string stem;   ///< of the input's name: what stands before its ending
    std::string ext;    ///< the ending without its dot
    std::string n;      ///< the running number, with as many digits as the last one
    std::string effect; ///< what is done to the image
};

/// A file's name with fields in braces, "{stem}-small.{ext}". "{{" and "}}" are braces.
class NamePattern {
public:
    /// \param subject who gave it, in messages
    /// \throws Failure with ExitCode::Usage for a brace without its partner and a field that is not known
    NamePattern(std::string_view text, std::string_view subject);

    std::string nameFor(const NameFields &fields) const;
    /// Whether it speaks of what differs between two images.
    bool tellsApart() const;

private:
    struct Piece {
        std::string text;               ///< in front of the field
        std::string NameFields::*field; ///< none at the end
    };

    void takeField(std::string &text, std::string_view name, std::string_view subject);

    std::vector<Piece> pieces_;
};

/// A number with leading zeros, as wide as the last one.
std::string numbered(std::size_t number, std::size_t last);

} // namespace velmont::cli
