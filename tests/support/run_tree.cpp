#include "tests/support/run_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace zarn::test {

namespace fs = std::filesystem;

RunTree::RunTree() : own_(std::make_unique<TempDir>()), path_(own_->Path()) {
    for (const char* folder :
         {run_tree::kEnvInfo, run_tree::kRawData, run_tree::kJson, run_tree::kCsv}) {
        MakeFolder(folder);
    }
}

RunTree::RunTree(std::string path) : path_(std::move(path)) {}

std::string RunTree::NameOf(const NumberedFile& kind, const std::string& time) {
    return kind.Path("", time);
}

std::string RunTree::Write(const std::string& name, std::string_view text) const {
    return WriteText(path_ + name, text);
}

void RunTree::MakeFolder(const std::string& name) const {
    fs::create_directories(path_ + name);
}

void RunTree::Remove(const std::string& name) const {
    fs::remove_all(path_ + name);
}

void RunTree::PutInTheWay(const std::string& name) const {
    Remove(name);
    Write(name, "a file");
}

void RunTree::MakeFull(const std::string& name) const {
    fs::create_directories(fs::path(path_ + name).parent_path());
    fs::create_symlink("/dev/full", path_ + name);
}

std::string RunTree::Read(const std::string& name) const {
    return ReadText(path_ + name);
}

std::string RunTree::Read(const NumberedFile& kind) const {
    const std::string name = OnlyFile(kind.folder, kind.prefix);
    return name.empty() ? "" : Read(name);
}

bool RunTree::Has(const std::string& name) const {
    return fs::exists(path_ + name);
}

std::vector<std::string> RunTree::NamesIn(const std::string& folder) const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(path_ + folder, error)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string RunTree::OnlyFile(const std::string& folder, std::string_view prefix) const {
    std::vector<std::string> found;
    for (const std::string& name : NamesIn(folder)) {
        if (std::string_view(name).substr(0, prefix.size()) == prefix) {
            found.push_back((fs::path(folder) / name).string());
        }
    }
    EXPECT_EQ(found.size(), 1U) << prefix << " in " << path_ << folder;
    return found.size() == 1 ? found.front() : "";
}

std::vector<std::string> RunTree::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(path_)) {
        if (entry.is_regular_file()) {
            names.push_back(entry.path().string().substr(path_.size()));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::map<std::string, std::string> RunTree::Texts() const {
    std::map<std::string, std::string> texts;
    for (const std::string& name : Names()) {
        texts[name] = Read(name);
    }
    texts.erase(run_tree::kCostLog);
    return texts;
}

}  // namespace zarn::test
