#pragma once

#include <string>
#include <string_view>

namespace zarn {

// The moments in the names of the collector's recordings, by which its files are found again: for
// each job that of the first name that bears its word. A name may bear several, such as that of a
// process called "core".
class RawStamps {
public:
    // Takes the next name of the folder.
    void Offer(const std::string& name);

    // Whether no name can change anything any more.
    [[nodiscard]] bool AreAllKnown() const;

    [[nodiscard]] const std::string& Global() const { return global_; }
    [[nodiscard]] const std::string& Core() const { return core_; }
    [[nodiscard]] const std::string& Process() const { return process_; }

    // Stands for a moment that is not known.
    static constexpr std::string_view kUnknown = "YYYYMMDDHHMMSSMS";

private:
    std::string global_{kUnknown};
    std::string core_{kUnknown};
    std::string process_{kUnknown};
};

}  // namespace zarn
