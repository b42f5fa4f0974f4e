#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace common {

/// Rows in aligned columns, two blanks apart, with a line of headers. Cells are printed as they are: text
/// from elsewhere goes through printable() first.
class Table {
public:
    enum class Align { left, right };
    struct Column {
        std::string header;
        Align align = Align::left;
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    /// `cells` has a cell for each column.
    void add(std::vector<std::string> cells);
    void print(std::ostream& out) const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

/// One record: a line for each label and value.
void printFields(std::ostream& out, const std::vector<std::pair<std::string, std::string>>& fields);

/// How much of `capacity` is used, for instance "[#####---------------] 25.0%". Anything used shows, and only
/// a full capacity looks full. Without a capacity it reads as full.
std::string bar(std::uint64_t used, std::uint64_t capacity);

}  // namespace common
