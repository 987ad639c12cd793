#include "terminal/AppendTypes.h"

#include <array>

std::vector<AppendType> AppendTypes(CMeterDatabase& database) {
    std::vector<AppendType> types;
    const int count = database.GetAppendTypes();
    for (int number = 1; number <= count; ++number) {
        std::array<char, 256> name{};
        std::array<char, 256> label{};
        if (database.GetAppendType(number, name.data(), 256, label.data(), 256))
            types.push_back({name.data(), label.data()});
    }
    return types;
}
