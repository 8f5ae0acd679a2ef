#include "libs/plist/Value.h"

namespace plist {

const Value* Value::find(std::string_view key) const {
    const Dictionary* dict = as_dict();
    if (!dict) return nullptr;
    auto it = dict->find(key);
    return it == dict->end() ? nullptr : &it->second;
}

bool Value::equals_number_one() const {
    if (const bool* b = as_bool()) return *b;
    if (const Integer* i = as_integer()) return i->value == 1 && !i->is_unsigned;
    if (const double* d = as_real()) return *d == 1.0;
    return false;
}

Array TextRows::to_array() const {
    Array rows;
    rows.reserve(size());
    for (std::size_t row = 0; row < size(); ++row) {
        Array cells;
        for (std::size_t column = 0; column < row_size(row); ++column) {
            cells.emplace_back(cell(row, column));
        }
        rows.emplace_back(std::move(cells));
    }
    return rows;
}

}  // namespace plist
