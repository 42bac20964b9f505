// Computed dictionary items over records: dicteval. The file, its records and its dictionary are in
// query, in the same folder.
#include <fstream>
#include <memory>

#include "hosts/multivalue/expression/field_evaluator.h"
#include "hosts/multivalue/text/error.h"
#include "tests/host/cases.h"
#include "tests/support/plain_environment.h"
#include "tests/support/text_support.h"

namespace kel::cases {

namespace {

struct QueryFile {
    PlainEnvironment environment;
    Text name;
    std::unique_ptr<FieldEvaluator> fields;
};

std::shared_ptr<QueryFile> ReadQueryFile(const std::filesystem::path& path) {
    auto file = std::make_shared<QueryFile>();
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);) {
        const Json row = Json::parse(line);
        const std::string kind = row.at("kind");
        if (kind == "file") {
            file->name = TextOf(row, "name");
        } else if (kind == "record" || kind == "dict") {
            const Text owner = kind == "dict" ? u"DICT " + file->name : file->name;
            file->environment.files[owner][TextOf(row, "id")] = TextOf(row, "rec");
        }
    }
    file->fields = std::make_unique<FieldEvaluator>(file->environment, file->name);
    return file;
}

}  // namespace

void AddDictionaryChecks(Checks& checks, const std::filesystem::path& folder) {
    const std::shared_ptr<QueryFile> file = ReadQueryFile(folder / "query.jsonl");
    checks["dicteval"] = [file](const Json& c) -> std::optional<std::string> {
        const Text id = TextOf(c, "id");
        const Field* field = file->fields->Resolve(TextOf(c, "dict"));
        if (field == nullptr) {
            return "no such field";
        }
        const Text& record = file->environment.files[file->name][id];
        file->fields->SetRecord(id, record);
        const Text internal(file->fields->Internal(*field));
        const Text external = file->fields->External(*field);
        if (internal == TextOf(c, "internal") && external == TextOf(c, "external") &&
            field->Item().conversion == TextOf(c, "conv")) {
            return std::nullopt;
        }
        return Drawn(internal) + ", " + Drawn(external);
    };
}

}  // namespace kel::cases
