// disk - a model of what a disk can hold when the power is cut
//
// Bytes that were not flushed may be there or not; a name may lead to anything it was given since its folder was
// flushed.

#ifndef TESKA_TESTS_DISK_H
#define TESKA_TESTS_DISK_H

#include "faults/injector.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

namespace teska_test
{

namespace fs = std::filesystem;

struct Node;
using Place = std::shared_ptr<Node>;

struct Node {
    bool is_folder = false;
    std::string flushed, rest = {};                         // of a file
    std::map<std::string, Place> now = {}, durable = {};    // of a folder
    std::vector<std::pair<std::string, Place>> since = {};  // names given, or taken (null), since its flush
};

// Which flushes reach the disk.
struct Flushes {
    bool files, folders;
};

class Disk
{
public:
    Disk(std::string top, Flushes flushes) : top_(std::move(top)), root_(load(top_)), flushes_(flushes) {}

    // What a path may lead to after a power cut; "?" for what need not be whole, "" for nothing.
    std::set<std::string> may_be(const std::string &path)
    {
        const auto [folder, name] = find(top_ + "/" + path);
        if (folder == nullptr)
            return {""};
        std::set<std::string> found{whole(folder->durable[name])};
        for (const auto &[given, node] : folder->since)
            if (given == name)
                found.insert(whole(node));
        return found;
    }

    // Makes the calls. Returns how often one of the names may lead to something else than the old or the new, or after
    // the last call to anything but the new.
    int torn(const std::vector<file_step> &steps, const std::map<std::string, std::string> &made)
    {
        std::map<std::string, std::string> old;
        for (const auto &[path, text] : made)
            old[path] = *may_be(path).begin();
        int count = 0;
        for (const file_step &step : steps) {
            run(step);
            for (const auto &[path, text] : made)
                for (const std::string &found : may_be(path))
                    count += found == text || (found == old[path] && &step != &steps.back()) ? 0 : 1;
        }
        return count;
    }

    // Of a tree that is all on the disk.
    static std::string whole(const Place &node)
    {
        if (node == nullptr)
            return "";
        if (!node->is_folder)
            return node->rest.empty() ? "(" + node->flushed + ")" : "?";
        std::string text = "{";
        for (const auto &[name, inner] : node->durable)
            if (inner != nullptr)
                text += name + whole(inner);
        return node->since.empty() ? text + "}" : "?";
    }

    static Place load(const fs::path &path)
    {
        const auto node = std::make_shared<Node>();
        node->is_folder = fs::is_directory(fs::symlink_status(path));
        if (fs::is_symlink(fs::symlink_status(path)))
            node->flushed = fs::read_symlink(path).string();
        else if (std::ifstream stream(path, std::ios::binary); !node->is_folder)
            node->flushed.assign(std::istreambuf_iterator<char>(stream), {});
        else
            for (const fs::directory_entry &one : fs::directory_iterator(path))
                node->now[one.path().filename().string()] = load(one.path());
        node->durable = node->now;
        return node;
    }

private:
    void run(const file_step &step)
    {
        const Place opened = open_[step.descriptor];  // null outside
        const Place named = now(step.name);
        switch (step.call) {
        case file_step::write:
            if (opened != nullptr)
                opened->rest += step.other;
            break;
        case file_step::fsync:
            if (opened != nullptr)
                flush(*opened);
            break;
        case file_step::close:
            open_[step.descriptor] = nullptr;
            break;
        case file_step::rename:
            give(step.other, named);
            [[fallthrough]];
        case file_step::unlink:
            give(step.name, nullptr);
            break;
        default:
            if (named == nullptr)
                give(step.name,
                     std::make_shared<Node>(Node{.is_folder = step.call == file_step::mkdir, .flushed = step.other}));
            if (step.call == file_step::open)
                open_[step.descriptor] = now(step.name);
        }
    }

    void flush(Node &node) const
    {
        if (node.is_folder && flushes_.folders) {
            node.durable = node.now;
            node.since.clear();
        } else if (!node.is_folder && flushes_.files) {
            node.flushed += std::exchange(node.rest, "");
        }
    }

    void give(const std::string &path, const Place &node)
    {
        const auto [folder, name] = find(path);
        if (folder != nullptr) {
            folder->now[name] = node;
            folder->since.emplace_back(name, node);
        }
    }

    // What a path leads to now; null outside.
    Place now(const std::string &path)
    {
        const auto [folder, name] = find(path);
        return folder != nullptr ? folder->now[name] : path == top_ ? root_ : nullptr;
    }

    // The folder of a path, as it is now, and the last name; null outside.
    std::pair<Place, std::string> find(const std::string &path)
    {
        if (!path.starts_with(top_ + "/"))
            return {nullptr, ""};
        Place at = root_;
        std::istringstream parts(path.substr(top_.size() + 1));
        std::string name, next;
        std::getline(parts, name, '/');
        while (at != nullptr && std::getline(parts, next, '/')) {
            at = at->now[name];
            name = next;
        }
        return {at, name};
    }

    std::string top_;
    Place root_;
    Flushes flushes_;
    std::map<int, Place> open_;
};

}  // namespace teska_test

#endif
