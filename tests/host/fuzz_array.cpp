// fuzz_array SECONDS SEED: edits, reads, searches and counts at random in records from empty to
// larger than a group of chunks, against the slow model.
#include <algorithm>

#include "hosts/multivalue/text/dynamic_array.h"
#include "tests/host/reference_array.h"
#include "tests/support/mutator.h"

namespace kel::text {
namespace {

const std::vector<Text>& Examples() {
    static const std::vector<Text> examples = {u"",
                                               u"a",
                                               u"7\u00fe10\u00fe9\u00fe+07\u00fe007\u00fe-3",
                                               u"\u00fe\u00fd\u00fc",
                                               u"A\u00fdB\u00fdC\u00fdD\u00fdAA\u00fdaa",
                                               u"1\u00fe2\u00fd3\u00fc4\u00fc\u00fc5\u00fd\u00fe6",
                                               u"aaaaaaaa\u00feaa\u00feaaa",
                                               u"no marks at all, but many letters in one value"};
    return examples;
}

// A text of one of several sizes, so that every kind of chunk is met.
Text Large(Mutator& mutator) {
    constexpr std::size_t kSizes[] = {0, 0, 0, 3000, 20000, 300000};
    Text text = mutator.Vary(Examples());
    // The large ones are rare: a step in the slow model costs as much as they are long.
    const std::size_t size = kSizes[mutator.Below(mutator.Below(20) == 0 ? 6 : 4)];
    if (size != 0) {
        const Text more = mutator.Vary(Examples()) + u"x\u00fe";
        while (text.size() < size) {
            text += more;
        }
    }
    return text;
}

std::int32_t AnyPosition(Mutator& mutator, std::size_t parts) {
    switch (mutator.Below(8)) {
        case 0:
            return -1;
        case 1:
            return 0;
        case 2:  // around the end
            return static_cast<std::int32_t>(parts + mutator.Below(3));
        case 3:
            return 1 + static_cast<std::int32_t>(mutator.Below(4));
        default:
            return 1 + static_cast<std::int32_t>(mutator.Below(parts + 1));
    }
}

Position AnyPlace(Mutator& mutator, std::size_t attributes) {
    return {AnyPosition(mutator, attributes), AnyPosition(mutator, 4), AnyPosition(mutator, 3)};
}

bool IsThere(const Text& text, Position place) {
    const auto isPart = [](const Text& element, char16_t mark, std::int32_t position) {
        return static_cast<std::size_t>(position) <= reference::Split(element, mark).size();
    };
    return place.attribute == 0 ||
           (isPart(text, kAttributeMark, place.attribute) &&
            (place.value == 0 ||
             isPart(reference::Extract(text, {place.attribute, 0, 0}), kValueMark, place.value)));
}

LocateResult LocateSlowly(const Text& element, char16_t mark, const Text& search, SortOrder order) {
    const std::vector<Text> parts =
        element.empty() ? std::vector<Text>() : reference::Split(element, mark);
    if (element.empty() && search.empty()) {
        return {true, 1};
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const int difference =
            order.rightJustified ? CompareRight(parts[i], search) : CompareLeft(parts[i], search);
        const bool ordered = order.direction != SortOrder::Direction::kNone;
        if (ordered ? difference == 0 : parts[i] == search) {
            return {true, i + 1};
        }
        const bool ascending = order.direction == SortOrder::Direction::kAscending;
        if (ordered && (difference > 0) == ascending) {
            return {false, i + 1};
        }
    }
    return {false, parts.size() + 1};
}

void TrySearch(Mutator& mutator, const DynamicArray& array, const Text& text) {
    const std::vector<Text> orders = {u"", u"AL", u"AR", u"DL", u"DR"};
    const SortOrder order = SortOrder::Parse(orders[mutator.Below(orders.size())]);
    const auto attribute = static_cast<std::int32_t>(mutator.Below(4));
    const auto value = static_cast<std::int32_t>(attribute == 0 ? 0 : mutator.Below(3));
    const Position place{attribute, value, 0};
    const Text element = reference::Extract(text, place);
    const auto mark = static_cast<char16_t>(kAttributeMark - (attribute == 0 ? 0
                                                              : value == 0   ? 1
                                                                             : 2));
    const std::vector<Text> parts = reference::Split(element, mark);
    const Text search = mutator.Below(2) == 0 ? parts[mutator.Below(parts.size())]
                                              : mutator.Vary({u"a", u"7", u"10", u"B", u""});
    LocateResult expected = LocateSlowly(element, mark, search, order);
    if (!IsThere(text, place)) {
        expected = {false, 1};  // what is not there holds nothing, not even ""
    }
    const LocateResult found = array.Locate(search, attribute, value, order);
    if (found.found != expected.found || found.position != expected.position) {
        GiveUp("a search finds what the model finds", {element, search});
    }
    const std::size_t count = array.Dcount(Text(1, mark), place);
    if (count != (element.empty() ? 0 : parts.size())) {
        GiveUp("as many parts as the model has", {element});
    }
}

void Edit(Mutator& mutator, DynamicArray& array, Text& text, Position at) {
    const Text value = mutator.Below(40) == 0 ? Large(mutator) : mutator.Vary(Examples());
    switch (mutator.Below(4)) {
        case 0:
            array.Replace(at, value);
            text = reference::Replace(text, at, value);
            break;
        case 1:
            array.Insert(at, value);
            text = reference::Insert(text, at, value);
            break;
        case 2:
            array.Delete(at);
            text = reference::Delete(text, at);
            break;
        default:
            array = DynamicArray(array);  // a copy goes on as the original would
            break;
    }
}

void TryOne(Mutator& mutator) {
    Text text = Large(mutator);
    DynamicArray array(text);
    // Many in small texts, where a step of the slow model is cheap.
    for (std::size_t edits = mutator.Below(text.size() < 3000 ? 100 : 12); edits > 0; --edits) {
        const Text before = text;
        const auto attributes =
            static_cast<std::size_t>(std::count(text.begin(), text.end(), kAttributeMark));
        const Position at = AnyPlace(mutator, attributes);
        Edit(mutator, array, text, at);
        const Position look = AnyPlace(mutator, attributes);
        Text storage;
        if (array.View(look, storage) != reference::Extract(text, look)) {
            GiveUp("an element reads as in the model", {before, text});
        }
        if (array.ToText() != text || array.Length() != text.size()) {
            GiveUp("an edit does what it does in the model", {before, text, array.ToText()});
        }
    }
    TrySearch(mutator, array, text);
}

}  // namespace
}  // namespace kel::text

int main(int argc, char** argv) {
    return kel::text::RunFor(
        argc, argv, u"0123456789aA+- \u00fb\u00fc\u00fd\u00fe\u00ff", kel::text::TryOne);
}
