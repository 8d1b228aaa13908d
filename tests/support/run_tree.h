#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "formats/run_tree.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// A run tree under test. Its files are named by what formats/ tells of them, or, below the tree,
// as they are.
class RunTree {
public:
    // A new one in a directory of its own, which is removed at the end, with the folders that the
    // program makes before its first mission.
    RunTree();
    // The one that lies at `path`, which ends in a slash: nothing is made or removed.
    explicit RunTree(std::string path);

    // The tree with its final slash, as missions take it.
    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] std::string PathOf(const std::string& name) const { return path_ + name; }
    // The name below a tree of the file of that kind with this time.
    [[nodiscard]] static std::string NameOf(const NumberedFile& kind,
                                            const std::string& time = FakeHost::kStart);

    // Writes a file, with missing parents, and returns its path.
    std::string Write(const std::string& name, std::string_view text) const;
    // Makes a folder, with missing parents.
    void MakeFolder(const std::string& name) const;
    // Removes a file or a folder with all that it holds.
    void Remove(const std::string& name) const;
    // Lets a file stand where a folder is to be made.
    void PutInTheWay(const std::string& name) const;
    // Lets the file, missing so far, be one that takes no byte.
    void MakeFull(const std::string& name) const;

    // The text of a file; fails the test if it cannot be read.
    [[nodiscard]] std::string Read(const std::string& name) const;
    // The text of the one file of that kind; fails the test if there is not exactly one.
    [[nodiscard]] std::string Read(const NumberedFile& kind) const;
    [[nodiscard]] bool Has(const std::string& name) const;
    // The names of the files in a folder, sorted; empty if there is no folder.
    [[nodiscard]] std::vector<std::string> NamesIn(const std::string& folder) const;
    // The one file in `folder` whose name begins with `prefix`, as its name below the tree; empty,
    // and a failed test, if there is not exactly one.
    [[nodiscard]] std::string OnlyFile(const std::string& folder, std::string_view prefix) const;
    // The names below the tree of all its files, sorted.
    [[nodiscard]] std::vector<std::string> Names() const;
    // The same with their texts, without the cost log, whose numbers are never the same.
    [[nodiscard]] std::map<std::string, std::string> Texts() const;

private:
    std::unique_ptr<TempDir> own_;
    std::string path_;
};

}  // namespace zarn::test
