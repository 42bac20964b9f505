// A file of orders in memory and a session over it, for tests of sentences and verbs.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "tests/support/memory_store.h"
#include "tests/support/text_support.h"

namespace kel::command {

// The day and the second stand still.
struct FixedEnvironment : StoreEnvironment {
    using StoreEnvironment::StoreEnvironment;
    std::int32_t Today() const override { return 19000; }
    std::int32_t SecondOfDay() const override { return 3600; }
};

class OrdersAccount : public testing::Test {
protected:
    OrdersAccount() {
        Run("CREATE-FILE ORDERS");
        const std::pair<const char*, const char*> items[] = {
            {"CUSTOMER", "D^1^^Customer^10L^S"},
            {"DATE", "D^2^D4/^Date^10R^S"},
            {"PART", "D^3^^Part^6L^M^LINES"},
            {"QTY", "D^4^^Qty^4R^M^LINES"},
            {"PRICE", "D^5^MD2^Price^8R^M^LINES"},
            {"REF", "D^6^^Ref^4R^S"},
            {"VALUE", "I^SUM(QTY*PRICE)^MD2^Value^9R^S"},
            {"TODAYS", "I^DATE()^D^^12R^S"},
            {"LINES", "PH^PART QTY"},
            {"RING", "PH^CUSTOMER RING"},
            {"@", "PH^CUSTOMER LINES"},
        };
        for (const auto& [id, record] : items) {
            Write("DICT ORDERS", id, record);
        }
        const std::pair<const char*, const char*> records[] = {
            {"1", "SMITH^1000^NUT]BOLT^5]10^100]25^9"},
            {"2", "BROWN^2000^NUT^7^95^10"},
            {"3", "SMITH^^WIRE]NUT]CLIP^1]2]3^1000]90]5^A"},
            {"4", "^500^^^^"},
            {"5", "adams^1500^BOLT^20^30^1.50"},
        };
        for (const auto& [id, record] : records) {
            Write("ORDERS", id, record);
        }
    }

    void Write(const char* file, const char* id, const char* record) {
        store_->Write(
            *store_->FindFile(Marked(file)), Marked(id), Marked(record), AfterWrite::kKeep);
    }

    // Lines parted by "|".
    std::string Run(const std::string& sentence) {
        std::string output = Drawn(session_.Execute(Text(sentence.begin(), sentence.end())).output);
        for (char& unit : output) {
            unit = unit == '^' ? '|' : unit;
        }
        return output;
    }

    // The ids, or the refusal.
    std::string Ids(const std::string& sentence) {
        try {
            std::string ids;
            const Text text(sentence.begin(), sentence.end());
            for (const SelectedId& entry : Drain(*session_.Select(text))) {
                ids += (ids.empty() ? "" : " ") + Drawn(entry.id);
                if (entry.position.value > 0) {
                    ids += "@" + std::to_string(entry.position.value);
                }
            }
            return ids;
        } catch (const Error& error) {
            return error.what();
        }
    }

    std::unique_ptr<Store> store_ = OpenMemoryStore(MakeMemoryAccount());
    FixedEnvironment environment_{*store_};
    Session session_{*store_, environment_};
};

struct Said {
    const char* sentence;
    const char* answer;
};

}  // namespace kel::command
