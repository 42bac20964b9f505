// fuzz_correlative SECONDS SEED: correlatives, written programs, dictionary items and records at
// random. Looks for what the sanitizers catch and for broken rules.
#include "hosts/multivalue/expression/correlative.h"
#include "hosts/multivalue/expression/correlative_evaluator.h"
#include "hosts/multivalue/expression/dictionary.h"
#include "hosts/multivalue/expression/field_evaluator.h"
#include "tests/support/mutator.h"
#include "tests/support/plain_environment.h"

namespace kel::expression {
namespace {

const std::vector<Text>& Correlatives() {
    static const std::vector<Text> correlatives = {
        u"A;2*3+\"7\"-4/2",
        u"A;IF 2>=\"4\" AND 1#3 OR 4 THEN N(QTY)R ELSE S(2*3)",
        u"A;R(2,3):1[\"2\",\"3\"](MCU):NV:NS:NI:D:T:LPV",
        u"F;2;3;*;S;P;_;-;C5;*2;/;R;:",
        u"F;1;C2;C3;[];4;[;\"x\";#;(MD2)",
        u"F;1;P;:;P;:;P;:;P;:",
        u"C;1;\" / \";2;*",
        u"CALL PROG",
        u"MCU\u00fdG0 1\u00fdA;LPV*2",
        u"I;SUM(QTY*PRICE)/3;@1*3:@2;IF @2>1 THEN -@1 ELSE 'x'",
        u"I;TRANS(FILE,@ID,NAME,C):TRANS('FILE',NAME,-1,X):EXT",
        u"I;FIELD(NAME,' ',2,9):NAME[1,1]:NAME[' ',1,2]:TRIM(NAME,'a','R')",
        u"I;CHANGE(@RECORD,'a',NAME,2,1):INDEX(NAME,'a',2):DCOUNT(QTY,@VM):COUNT(NAME,'b')",
        u"I;MOD(QTY,3):INT(PRICE/7):ABS(-QTY):MAXIMUM(QTY):MINIMUM(PRICE):REUSE(QTY)",
        u"I;OCONV(PRICE,'MD2'):ICONV(NAME,'D'):FMT(NAME,'10R'):@RECORD<2,1,1>:NAME LIKE 'A...'",
        u"I;SUBR('P',NAME,QTY):UPCASE(NAME):EXTRACT(@RECORD,2,QTY,1):LOOP",
        u"{1}[1,0,0,2;1,0,0,3;14,1,2,0;.11,0,0,0;29,0,1,0;.]",
        u"{1}[[1,2,0,1;.]3,0,0,0;50,0,1,0,1:F;.]",
        u"{1}[2,0,0,0;0,0,0,0,3:MCU;48,1,2,0;9,0,0,0;0,0,0,0,1:3;25,1,3,0;.]"};
    return correlatives;
}

const std::vector<Text>& Records() {
    static const std::vector<Text> records = {
        u"",
        u"ANNE LEE\u00fe3\u00fd4\u00fd5\u00fe10\u00fd20\u00fe2",
        u"a\u00fcb\u00fdc\u00fe1\u00fc2\u00fd3\u00fe-99999999999999999999.5",
        u"\u00fe\u00fd\u00fc\u00fe0",
        u"x\u00fb y\u00ff\u00fe007\u00fd+1\u00fd.\u00fe1.50"};
    return records;
}

const std::vector<Text>& Items() {
    static const std::vector<Text> items = {
        u"D Name\u00fe1\u00fe\u00feName\u00fe25L\u00feS",
        u"D\u00fe2\u00feMD2\u00feQty\u00fe5R\u00feM\u00feLINES",
        u"I\u00feQTY*PRICE\u00feMD2\u00feExt\u00fe12R\u00feM",
        u"I\u00feEXT+NAME\u00fe\u00fe\u00fe\u00fe",
        u"A\u00fe3\u00fePrice\u00feD;2\u00fe\u00fe\u00feMD2\u00feA;N(QTY)+1\u00feR\u00fe9",
        u"PH\u00feQTY PRICE"};
    return items;
}

struct FuzzEnvironment : PlainEnvironment {
    void CallProgram(TextView name, std::vector<Text>& arguments) override {
        arguments[0].append(name);
        if (arguments.size() > 2) {
            arguments.pop_back();
        }
    }
};

Text Evaluated(CorrelativeEvaluator& evaluator, const Text& record, std::int32_t position) {
    RecordFields fields{TextView(record)};
    EvaluationInput input{&fields, u"1", u"12 value"};
    input.position = position;
    return Text(evaluator.Evaluate(input));
}

void TryCorrelative(Mutator& mutator, Environment& environment) {
    const Text correlative = mutator.Vary(Correlatives());
    const Text first = mutator.Vary(Records());
    const Text second = mutator.Vary(Records());
    const auto position = static_cast<std::int32_t>(mutator.Below(4));
    const bool valid = IsValidCorrelative(correlative);
    try {
        CompiledExpression program = IsWrittenExpression(correlative)
                                         ? ReadExpression(correlative)
                                         : CompileCorrelative(correlative, u"FILE", environment);
        if (!valid && !IsWrittenExpression(correlative)) {
            GiveUp("what compiles is valid", {correlative});
        }
        const Text written = WriteExpression(program);
        CorrelativeEvaluator read(ReadExpression(written), environment);
        if (WriteExpression(read.Compiled()) != written) {
            GiveUp("a written program reads back the same", {correlative, written});
        }
        CorrelativeEvaluator kept(std::move(program), environment);
        Evaluated(kept, first, 0);
        const Text result = Evaluated(kept, second, position);
        if (result != Evaluated(read, second, position)) {
            GiveUp("nothing is left of an earlier record", {correlative, first, second, result});
        }
    } catch (const Error&) {
        // What is wrong with a correlative, or what the environment does not have.
    }
}

void TryItem(Mutator& mutator, Environment& environment) {
    const Text record = mutator.Vary(Items());
    const DictionaryForm form = FormOf(ReadDictionaryItem(record));
    for (const Family family : {Family::kUni, Family::kR83}) {
        const Text written = WriteDictionaryItem(form, family, mutator.Vary(Items()));
        const DictionaryForm again = FormOf(ReadDictionaryItem(written));
        const bool marked = form.correlative.find(kAttributeMark) != Text::npos;
        if (!marked && (again.correlative != form.correlative || again.width != form.width ||
                        again.conversion != form.conversion || again.heading != form.heading ||
                        again.justification != form.justification)) {
            GiveUp("what is written of an item is read again", {record, written});
        }
    }
    FieldEvaluator fields(environment, u"FILE");
    try {
        const Text values = mutator.Vary(Records());
        for (const TextView name : {u"NAME", u"QTY", u"PRICE", u"EXT", u"LOOP"}) {
            const Field* field = fields.Resolve(name);
            fields.SetRecord(u"1", values);
            if (field != nullptr) {
                fields.Internal(*field, {1, 1});
                fields.External(*field);
            }
        }
    } catch (const Error&) {
        // An item that is wrong.
    }
}

void TryOne(Mutator& mutator) {
    FuzzEnvironment environment;
    environment.family = mutator.Below(2) == 0 ? Family::kUni : Family::kR83;
    environment.files[u"FILE"][u"1"] = mutator.Vary(Records());
    for (const TextView name : {u"NAME", u"QTY", u"PRICE", u"EXT", u"LOOP"}) {
        environment.files[u"DICT FILE"][Text(name)] = mutator.Vary(Items());
    }
    TryCorrelative(mutator, environment);
    TryItem(mutator, environment);
}

}  // namespace
}  // namespace kel::expression

int main(int argc, char** argv) {
    return kel::text::RunFor(
        argc,
        argv,
        u"0123456789ACDFGILMNRSTPV,;.:+-*/#=<>()[]{}\"'_@ \u00fb\u00fc\u00fd\u00fe",
        kel::expression::TryOne);
}
