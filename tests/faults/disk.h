// disk - a model of what a disk can hold when the power is cut
//
// Bytes that were not flushed may be there or not; a name may lead to anything it was given since its folder was
// flushed.

#ifndef TESKA_TESTS_DISK_H
#define TESKA_TESTS_DISK_H

#include "support/test.h"

#include "faults/injector.h"

namespace teska_test
{

namespace fs = std::filesystem;

struct Node;
using Place = std::shared_ptr<Node>;

struct Node {
    bool is_folder = false;
    std::string flushed, rest = {};                        // of a file
    std::map<std::string, std::vector<Place>> names = {};  // of a folder: what each led to (null: nothing) since the
                                                           // flush, the last one now
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
        std::set<std::string> found;
        for (const Place &node : led_to(top_ + "/" + path))
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
        for (const auto &[name, nodes] : node->names) {
            if (nodes.size() > 1)
                return "?";
            text += nodes[0] != nullptr ? name + whole(nodes[0]) : "";
        }
        return text + "}";
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
                node->names[one.path().filename().string()] = {load(one.path())};
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
        if (!node.is_folder && flushes_.files)
            node.flushed += std::exchange(node.rest, "");
        for (auto &[name, nodes] : node.names)
            if (flushes_.folders)
                nodes = {nodes.back()};
    }

    void give(const std::string &path, const Place &node) { led_to(path).push_back(node); }
    Place now(const std::string &path) { return path == top_ ? root_ : led_to(path).back(); }

    // What a path has led to since the flush of its folder; nothing outside.
    std::vector<Place> &led_to(const std::string &path)
    {
        outside_ = {nullptr};
        if (!path.starts_with(top_ + "/"))
            return outside_;
        Place at = root_;
        std::istringstream parts(path.substr(top_.size() + 1));
        for (std::string name; std::getline(parts, name, '/');) {
            std::vector<Place> &nodes = at->names[name];
            if (nodes.empty())
                nodes = {nullptr};
            at = nodes.back();
            if (parts.eof())
                return nodes;
            if (at == nullptr)
                break;
        }
        return outside_;
    }

    std::vector<Place> outside_;
    std::string top_;
    Place root_;
    Flushes flushes_;
    std::map<int, Place> open_;
};

}  // namespace teska_test

#endif
