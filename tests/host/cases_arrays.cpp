// Dynamic arrays: extract, replace, insert, delete, locate, dcount.
#include "hosts/multivalue/text/dynamic_array.h"
#include "tests/host/cases.h"

namespace kel::cases {

namespace {

Position PositionOf(const Json& object) {
    return {object.at("amc").get<std::int32_t>(),
            object.at("vmc").get<std::int32_t>(),
            object.at("smc").get<std::int32_t>()};
}

std::optional<std::string> CheckLocate(const Json& c) {
    const LocateResult result = DynamicArray(TextOf(c, "rec"))
                                    .Locate(TextOf(c, "str"),
                                            c.at("amc").get<std::int32_t>(),
                                            c.at("vmc").get<std::int32_t>(),
                                            SortOrder::Parse(TextOf(c, "order")));
    if (result.found == (c.at("found").get<int>() != 0) &&
        result.position == c.at("pos").get<std::size_t>()) {
        return std::nullopt;
    }
    return std::string(result.found ? "found at " : "not found, ") +
           std::to_string(result.position);
}

std::optional<std::string> CheckDcount(const Json& c) {
    const std::size_t parts = DynamicArray(TextOf(c, "str")).Dcount(TextOf(c, "delim"), {});
    if (parts == c.at("dcount").get<std::size_t>()) {
        return std::nullopt;
    }
    return std::to_string(parts);
}

}  // namespace

void AddArrayChecks(Checks& checks) {
    checks.insert({
        {"extract",
         [](const Json& c) {
             return Compare(DynamicArray(TextOf(c, "rec")).Extract(PositionOf(c)),
                            TextOf(c, "out"));
         }},
        {"replace",
         [](const Json& c) {
             DynamicArray array(TextOf(c, "rec"));
             array.Replace(PositionOf(c), TextOf(c, "val"));
             return Compare(array.ToText(), TextOf(c, "out"));
         }},
        {"insert",
         [](const Json& c) {
             DynamicArray array(TextOf(c, "rec"));
             array.Insert(PositionOf(c), TextOf(c, "val"));
             return Compare(array.ToText(), TextOf(c, "out"));
         }},
        {"delete",
         [](const Json& c) {
             DynamicArray array(TextOf(c, "rec"));
             array.Delete(PositionOf(c));
             return Compare(array.ToText(), TextOf(c, "out"));
         }},
        {"locate", CheckLocate},
        {"dcount", CheckDcount},
    });
}

}  // namespace kel::cases
