// Rows of strings kept in one text buffer: the rows of a database table, which reach millions,
// at a fraction of the memory that an Array of Arrays of Strings takes (a Value per cell costs 56
// bytes before its text; a cell here costs 8). Reports see it as exactly such an array: the XML
// writer and the description print it so, and it compares equal only to rows with the same cells.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace plist {

class Value;

class TextRows {
public:
    // Starts a new, empty row; cells are added to the last row.
    void begin_row() { row_ends_.push_back(cell_ends_.size()); }
    void add(std::string_view cell) {
        text_.append(cell);
        cell_ends_.push_back(text_.size());
        row_ends_.back() = cell_ends_.size();
    }

    std::size_t size() const { return row_ends_.size(); }
    bool empty() const { return row_ends_.empty(); }
    std::size_t row_size(std::size_t row) const { return row_end(row) - row_begin(row); }
    std::string_view cell(std::size_t row, std::size_t column) const {
        return cell_at(row_begin(row) + column);
    }
    // Every cell's text back to back, for a quick search before a walk.
    std::string_view all_text() const { return text_; }

    // The rows as property-list values (tests, small tables).
    std::vector<Value> to_array() const;

    bool operator==(const TextRows&) const = default;

private:
    std::size_t row_begin(std::size_t row) const { return row == 0 ? 0 : row_ends_[row - 1]; }
    std::size_t row_end(std::size_t row) const { return row_ends_[row]; }
    std::string_view cell_at(std::size_t index) const {
        const std::size_t begin = index == 0 ? 0 : cell_ends_[index - 1];
        return std::string_view(text_).substr(begin, cell_ends_[index] - begin);
    }

    std::string text_;
    std::vector<std::size_t> cell_ends_;  // end offset in text_ of each cell
    std::vector<std::size_t> row_ends_;   // end index in cell_ends_ of each row
};

}  // namespace plist
