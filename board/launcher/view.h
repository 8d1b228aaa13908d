#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

// A view of the machine of one's own: a private mount namespace, in which the board's files stand
// where they do on the real board. Nothing of the machine is changed, and all of it is gone with
// the last process in it.
namespace zarn::board {

// Why something failed; nothing if it did not.
using Problem = std::optional<std::string>;

// What stands where in the view.
struct Binding {
    std::string from;  // a file or folder of the machine
    std::string to;
};

// Puts this process, one of a user without rights, into a user namespace in which he keeps his
// number and may have a private mount namespace. What he starts before and outside is closed to
// what runs in it: the memory of a process, for one.
[[nodiscard]] Problem EnterUserNamespace();

// The view of this process. Made by Enter, then filled.
class View {
public:
    // Makes the private mount namespace: as it is for root, else by a user namespace in which the
    // user keeps his number.
    [[nodiscard]] Problem Enter();

    // Puts a file or folder in its place. Where there is none, the deepest folder that exists is
    // covered by one in memory in which all its entries are bound, and the place is made there.
    [[nodiscard]] Problem Bind(const Binding& binding);

    // Binds the kernel files and the library that shows them to the folder of the board's own, and
    // has the library loaded into every program.
    [[nodiscard]] Problem ShowKernelFiles(const std::string& files, const std::string& library);

    // Goes to the former working directory by its path: it may be another one in the view.
    void ReenterWorkingDirectory() const;

private:
    [[nodiscard]] Problem Cover(const std::string& folder);
    [[nodiscard]] Problem MakePlace(const std::string& path, bool isFolder);

    std::string workingDirectory_;
    std::set<std::string> own_;  // folders in memory: what is made there is not on the machine
};

// Whether this machine lets us have a view, tried in a process of its own.
[[nodiscard]] Problem WhyNoView();

}  // namespace zarn::board
