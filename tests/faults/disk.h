// disk - a model of what a disk can hold when the power is cut
//
// Bytes that were not flushed may be there or not; a name may lead to anything it was given since its folder was flushed.

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
    std::string flushed, rest;                              // of a file
    std::map<std::string, Place> now, durable;              // of a folder
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

    void run(const file_step &step)
    {
        if (step.call == file_step::write || step.call == file_step::fsync || step.call == file_step::close) {
            const auto found = open_.find(step.descriptor);
            if (found == open_.end())
                return;
            if (step.call == file_step::write)
                found->second->rest += step.other;
            else if (step.call == file_step::fsync)
                flush(*found->second);
            else
                open_.erase(found);
            return;
        }
        if (!step.name.starts_with(top_ + "/")) {
            if (step.call == file_step::open)
                open_[step.descriptor] = step.name == top_ ? root_ : nullptr;
            if (open_[step.descriptor] == nullptr)
                open_.erase(step.descriptor);
            return;
        }
        auto [folder, name] = find(step.name);
        if (folder == nullptr)
            return;
        Place &node = folder->now[name];
        if (step.call == file_step::rename) {
            const Place moved = node;
            give(*folder, name, nullptr);
            const auto [to, new_name] = find(step.other);
            give(*to, new_name, moved);
        } else if (step.call == file_step::unlink) {
            give(*folder, name, nullptr);
        } else if (node == nullptr) {
            const auto made = std::make_shared<Node>();
            made->is_folder = step.call == file_step::mkdir;
            made->flushed = step.call == file_step::symlink ? step.other : "";
            give(*folder, name, made);
        }
        if (step.call == file_step::open)
            open_[step.descriptor] = folder->now[name];
    }

    // What a path may lead to after a power cut; "?" for what need not be whole, "" for nothing.
    std::set<std::string> may_be(const std::string &path)
    {
        const auto [folder, name] = find(top_ + "/" + path);
        std::set<std::string> found;
        if (folder == nullptr)
            return {""};
        found.insert(whole(folder->durable[name]));
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
        if (fs::is_symlink(fs::symlink_status(path))) {
            node->flushed = fs::read_symlink(path).string();
        } else if (fs::is_directory(path)) {
            node->is_folder = true;
            for (const fs::directory_entry &one : fs::directory_iterator(path))
                node->now[one.path().filename().string()] = load(one.path());
            node->durable = node->now;
        } else {
            std::ifstream stream(path, std::ios::binary);
            node->flushed.assign(std::istreambuf_iterator<char>(stream), {});
        }
        return node;
    }

private:
    void flush(Node &node) const
    {
        if (node.is_folder && flushes_.folders) {
            node.durable = node.now;
            node.since.clear();
        } else if (!node.is_folder && flushes_.files) {
            node.flushed += std::exchange(node.rest, "");
        }
    }

    static void give(Node &folder, const std::string &name, const Place &node)
    {
        folder.now[name] = node;
        folder.since.emplace_back(name, node);
    }

    // The folder of a path, as it is now, and the last name.
    std::pair<Place, std::string> find(const std::string &path)
    {
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
