// orientation - pages turned so that they stand upright
//
// Orientation o puts the first line of the file at: 1 top, 2 top mirrored, 3 bottom mirrored, 4 bottom, 5 left,
// 6 right, 7 right from the bottom, 8 left from the bottom. 1 and 2 stream; the others need the whole page.

#include "pictures/line_store.h"
#include "pictures/picture.h"

#include <cstring>
#include <optional>

namespace tool
{

namespace
{

class upright_reader : public picture_reader
{
public:
    explicit upright_reader(std::unique_ptr<picture_reader> reader) : reader_(std::move(reader)) {}

    [[nodiscard]] file_format format() const override { return reader_->format(); }
    [[nodiscard]] int pages() const override { return reader_->pages(); }

    bool next_page() override
    {
        store_.reset();
        line_ = 0;
        if (!reader_->next_page())
            return false;
        page_ = reader_->page();
        orientation_ = page_.orientation;
        page_.orientation = 1;
        if (orientation_ >= 5) {
            std::swap(page_.width, page_.height);
            std::swap(page_.density.x, page_.density.y);
        }
        return true;
    }

    void read_lines(void *samples, std::uint32_t count) override
    {
        for (std::uint32_t i = 0; i < count; ++i)
            read_one(static_cast<char *>(samples) + i * page_.line_bytes());
    }

private:
    void read_one(char *samples)
    {
        if (orientation_ <= 2) {
            reader_->read_line(samples);
            if (orientation_ == 2)
                mirror(samples);
            return;
        }
        if (!store_)
            read_all();
        if (orientation_ <= 4) {
            store_->get(page_.height - 1 - line_, samples);
            if (orientation_ == 3)
                mirror(samples);
        } else {
            read_column(samples);
        }
        ++line_;
    }

    void mirror(char *samples) const
    {
        const std::size_t bytes = page_.pixel_bytes();
        char held[2 * most_samples];
        for (std::size_t left = 0, right = page_.width - 1; left < right; ++left, --right) {
            std::memcpy(held, samples + left * bytes, bytes);
            std::memcpy(samples + left * bytes, samples + right * bytes, bytes);
            std::memcpy(samples + right * bytes, held, bytes);
        }
    }

    void read_all()
    {
        const page_facts &stored = reader_->page();
        store_.emplace("", stored.line_bytes(), stored.height);
        std::vector<char> line(stored.line_bytes());
        for (std::uint32_t y = 0; y < stored.height; ++y) {
            reader_->read_line(line.data());
            store_->put(y, line.data());
        }
    }

    // A line of the page is a column of the file; several of them are taken at once, since each costs a walk.
    void read_column(char *samples)
    {
        const std::size_t bytes = page_.pixel_bytes();
        const std::uint32_t columns = reader_->page().width;
        const std::uint32_t column = orientation_ == 5 || orientation_ == 6 ? line_ : columns - 1 - line_;
        if (line_ % at_once == 0 || block_.empty())
            fill_block(column);
        const std::uint32_t in_block = column - block_start_;
        for (std::uint32_t x = 0; x < page_.width; ++x) {
            const std::uint32_t y = orientation_ == 5 || orientation_ == 8 ? x : page_.width - 1 - x;
            std::memcpy(samples + x * bytes, block_.data() + (std::size_t{y} * block_columns_ + in_block) * bytes,
                        bytes);
        }
    }

    void fill_block(std::uint32_t column)
    {
        const page_facts &stored = reader_->page();
        const bool forward = orientation_ == 5 || orientation_ == 6;
        block_columns_ = std::min(at_once, forward ? stored.width - column : column + 1);
        block_start_ = forward ? column : column + 1 - block_columns_;
        const std::size_t bytes = page_.pixel_bytes();
        block_.resize(std::size_t{stored.height} * block_columns_ * bytes);
        for (std::uint32_t y = 0; y < stored.height; ++y)
            store_->get(y, block_start_ * bytes, block_.data() + std::size_t{y} * block_columns_ * bytes,
                        block_columns_ * bytes);
    }

    static constexpr std::uint32_t at_once = 16;  // columns

    std::unique_ptr<picture_reader> reader_;
    std::optional<line_store> store_;
    std::vector<char> block_;  // columns of the file
    std::uint32_t block_start_ = 0;
    std::uint32_t block_columns_ = 0;
    std::uint32_t line_ = 0;
    int orientation_ = 1;
};

}  // namespace

std::unique_ptr<picture_reader> upright(std::unique_ptr<picture_reader> reader)
{
    return std::make_unique<upright_reader>(std::move(reader));
}

}  // namespace tool
