// Correlatives, expressions and dictionary items of both families.
#include "hosts/multivalue/expression/correlative.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "hosts/multivalue/expression/correlative_evaluator.h"
#include "hosts/multivalue/expression/field_evaluator.h"
#include "hosts/multivalue/text/error.h"
#include "tests/support/plain_environment.h"
#include "tests/support/text_support.h"

namespace kel::expression {
namespace {

struct Orders : PlainEnvironment {
    Orders() {
        today = 19000;
        secondOfDay = 3600;
        const auto item = [this](const char* name, const char* record) {
            files[u"DICT ORDERS"][Marked(name)] = Marked(record);
        };
        item("NAME", "D^1^^Name^20L^S");
        item("QTY", "D Pieces^2^^^5R^M^LINES");
        item("PRICE", "D^3^MD2^^9R^M^LINES");
        item("RATE", "D^4^^^5R^S");
        item("ONE", "D^2^^^5R^S");
        item("EXT", "I^QTY*PRICE^MD2^^12R^M");
        item("TWICE", "I^EXT*2^^^12R^M");
        item("LOOP", "I^LOOP2+1");
        item("LOOP2", "A^0^^^^^^A;N(LOOP)");
        item("A.FIRST", "A^1^First]name^^^^MCU^G0 1^R^12");
        item("LINES", "PH^QTY PRICE");
        item("BAD", "I^QTY*");
        files[u"CITIES"][u"Y"] = Marked("YORK^NORTH]EAST");
        files[u"DICT CITIES"][u"REGION"] = Marked("D^2^^^5L^M");
        files[u"DICT CITIES"][u"BIG"] = Marked("I^UPCASE(REGION):'!'");
    }

    void CallProgram(TextView name, std::vector<Text>& arguments) override {
        arguments[0] = Text(name) + u"(" + arguments[0] + u"," + arguments[1] + u")";
    }
};

constexpr char kRecord[] = "Anne Lee^3]4]5^10]20^2^Y]Q^1\\2]3";

// Brackets belong to correlatives, so | is the value mark here.
Text Code(std::string_view drawn) {
    Text code(drawn.begin(), drawn.end());
    std::replace(code.begin(), code.end(), u'|', kValueMark);
    return code;
}

std::string Evaluated(Environment& environment,
                      const char* correlative,
                      std::int32_t position = 0) {
    try {
        CompiledExpression program = CompileCorrelative(Code(correlative), u"ORDERS", environment);
        // Every case tests the written form as well.
        CorrelativeEvaluator read(ReadExpression(WriteExpression(program)), environment);
        CorrelativeEvaluator compiled(std::move(program), environment);
        const Text record = Marked(kRecord);
        RecordFields fields{TextView(record)};
        EvaluationInput input{&fields, u"17", u"12345"};
        input.position = position;
        input.itemCounter = 7;
        const std::string result = Drawn(compiled.Evaluate(input));
        return result == Drawn(read.Evaluate(input)) ? result : "another when written and read";
    } catch (const Error& error) {
        return error.what();
    }
}

struct Case {
    const char* correlative;
    const char* result;
};

TEST(Correlative, WorksOutOfARecord) {
    Orders environment;
    for (const Case& c : std::initializer_list<Case>{
             // Terms line up; a constant and R repeat; whole numbers only.
             {"A;2*3", "30]80]0"},
             {"A;2*\"2\"", "6]8]10"},
             {"A;2*4", "6]0]0"},
             {"A;2*4R", "6]8]10"},
             {"A;N(QTY)*N(RATE)R+0", "23]25]27"},
             {"A;6*\"2\"", "2\\4]6"},
             {"A;2*6", "3\\0]12]0"},
             {"A;\"1\"+\"2\"*\"3\"-(\"1\"-\"4\")", "10"},
             {"A;\"7\"/\"2\":\",\":\"-7\"/\"2\"", "3,-3"},
             {"A;\"7\"/\"0\":R(\"7\",\"0\"):R(\"-7\",\"4\")", "00-3"},
             {"A;1+4", "2"},
             {"A;S(2*3)+S(6)", "116"},
             {"A;2:\"-\":3", "3-10]4-20]5-"},
             {"A;1[\"1\",\"4\"](MCU)", "ANNE"},
             {"A;IF 2 >= \"4\" AND 3 # \"20\" THEN 2 ELSE \"none\"", "none]none]none"},
             {"A;NV:NS:6", "111\\22]213"},
             {"F;6;NV", "1"},  // an attribute left on the stack is not counted
             {"A;D:T:NI", "1900036007"},
             {"A;LPV-\"5\"", "12340"},
             {"A;\"99999999999999999999\"*\"99999999999999999999\"",
              "9999999999999999999800000000000000000001"},
             {"A;2+999999999999", "3]4]5"},
             // Stack: the entry below stands on the left.
             {"F;2;C2;-", "1]2]3"},
             {"F;C7;C2;/;\"x\";:", "3x"},
             {"F;2;3;*;S", "110"},
             {"F;2;P;*", "9]16]25"},
             {"F;C1;C2;_;-", "1"},
             {"F;1;C6;C3;[]", "Lee"},
             {"F;C2;C3;[;C2;C3;];:;C2;C3;<;:", "011"},
             {"F;C12345;C10;*2", "1234"},
             {"F;1(MCU);C9;C4;R;:", "ANNE LEE1"},
             {"C;1;\" / \";4", "Anne Lee / 2"},
             {"C1-4-*", "Anne Lee-2-12345"},
             // Several, each on the result of the one before.
             {"A;1|G0 1|MCU", "ANNE"},
             {"MD2|A;LPV:\"!\"", "123.45!"},
             {"CALL TAX", "TAX(12345,17)"},
             {"", "12345"},
             // Expressions.
             {"I;SUM(QTY*PRICE):'/':MAXIMUM(PRICE):'/':MINIMUM(PRICE)", "110/20/10"},
             {"I;QTY*RATE", "6]8]10"},
             {"I;SUM(@RECORD<6>)", "3]3"},
             {"I;TWICE", "60]160]0"},
             {"I;1/3*3:' ':2/3:' ':INT(99999/100000):' ':MOD(-7,4)", "1 0.6667 0 -3"},
             {"I;1.50+.25:' ':-(2):' ':ABS(-2.5)", "1.75 -2 2.5"},
             {"I;IF NAME LIKE 'Anne...' THEN 'A' ELSE IF 1 THEN 'B' ELSE 'C'", "A"},
             {"I;'a' < 'b' AND '' # 0 AND 10 > 9 AND '010' = 10", "1"},
             {"I;0 AND 1 OR 1 AND 1", "1"},
             {"I;QTY;DCOUNT(@1,@VM);@1:@2:@", "3]4]533"},
             {"I;NAME[1,4]:NAME[3]:NAME[' ',2,1]:FIELD('a*b*c','*',2,9)", "AnneLeeLeeb*c"},
             {"I;UPCASE(NAME):DOWNCASE('X'):LEN(NAME):INDEX('aXbX','X',2)", "ANNE LEEx84"},
             {"I;TRIM('  a  b '):TRIM('xaxx','x','T'):TRIM('1-2-','-','A')", "a bxa12"},
             {"I;CHANGE('a-b-c','-','+',1,2):COUNT('aaaa','aa'):(@RECORD<2,2>=4)", "a-b+c21"},
             {"I;LEFT(NAME,2):RIGHT(NAME,2):EXTRACT(@RECORD,6,1,2):@ID", "Anee217"},
             {"I;OCONV(12345,'MD2'):ICONV('1.5','MD1'):FMT('7','3R')", "123.4515  7"},
             {"I;TRANS('CITIES',@RECORD<5>,'REGION','X')", "NORTH\\EAST]"},
             {"I;TRANS(CITIES,'Y',BIG,X):TRANS(CITIES,'Q',1,C)", "NORTH]EAST!Q"},
             {"I;SUBR('P',NAME)", "P(,Anne Lee)"},
             {"I;A.FIRST", "Anne"},
         }) {
        EXPECT_EQ(Evaluated(environment, c.correlative), c.result) << c.correlative;
    }
    EXPECT_EQ(Evaluated(environment, "A;2*3", 2), "80");
    EXPECT_EQ(Evaluated(environment, "A;2*3", 9), "");
    EXPECT_EQ(Evaluated(environment, "MD2", 2), "123.45")
        << "the value is already the one asked for";
    EXPECT_EQ(Evaluated(environment, "I;SUM(QTY)", 2), "12");
    environment.family = Family::kR83;
    EXPECT_EQ(Evaluated(environment, "I;COUNT('aaa','aa'):A.FIRST"), "2Anne");
}

TEST(Correlative, BindsOperatorsAsAlgebraDoes) {
    Orders environment;
    for (const Case& c : std::initializer_list<Case>{
             {"I;10-2-3", "5"},
             {"I;2+3*4", "14"},
             {"I;(2+3)*4", "20"},
             {"I;2*3+4", "10"},
             {"I;24/4/2", "3"},
             {"I;-2+3", "1"},
             {"I;-(2+3)*2", "-10"},
             {"I;- -2", "2"},
             {"I;+3-+1", "2"},
             {"I;1:2+3", "15"},
             {"I;2*3:4", "64"},
             {"I;1+1=2", "1"},
             {"I;'a':'b'='ab'", "1"},
             {"I;1=2=0", "1"},
             {"I;1=1:0", "0"},
             {"I;1 OR 0 AND 0", "1"},
             {"I;0 AND 0 OR 1", "1"},
             {"I;(1 OR 0) AND 0", "0"},
             {"I;0 ! 1 & 1", "1"},
             {"I;1=1 AND 2=3", "0"},
             {"A;\"10\"-\"2\"-\"3\"", "5"},
             {"A;\"2\"*(\"3\"+\"4\")", "14"},
             {"A;\"1\":\"2\"+\"3\"", "15"},
         }) {
        EXPECT_EQ(Evaluated(environment, c.correlative), c.result) << c.correlative;
    }
    // Every comparison in all its spellings, of 1 and 2, 2 and 2, 2 and 1.
    const struct {
        const char* signs;
        const char* holds;
    } comparisons[] = {
        {"= EQ", "010"},
        {"# <> >< NE", "101"},
        {"< LT", "100"},
        {"> GT", "001"},
        {"<= =< LE", "110"},
        {">= => GE", "011"},
        {"LIKE MATCHES MATCH", "010"},
    };
    for (const auto& [signs, holds] : comparisons) {
        std::istringstream each(signs);
        for (std::string sign; each >> sign;) {
            std::string code = "I;('1' ";
            code += sign + " '2'):('2' " + sign + " '2'):('2' " + sign + " '1')";
            EXPECT_EQ(Evaluated(environment, code.c_str()), holds) << code;
        }
    }
    const struct {
        const char* signs;
        const char* holds;
    } stacked[] = {{"=", "010"},
                   {"# <>", "101"},
                   {"<", "100"},
                   {">", "001"},
                   {"] <=", "110"},
                   {"[ >=", "011"}};
    for (const auto& [signs, holds] : stacked) {
        std::istringstream each(signs);
        for (std::string sign; each >> sign;) {
            const std::string code =
                "F;C1;C2;" + sign + ";C2;C2;" + sign + ";:;C2;C1;" + sign + ";:";
            EXPECT_EQ(Evaluated(environment, code.c_str()), holds) << code;
        }
    }
}

TEST(Correlative, HasTheUsualFunctions) {
    Orders environment;
    for (const Case& c : std::initializer_list<Case>{
             {"I;ABS(-2.5):' ':ABS(3):' ':INT(2.9):' ':INT(-2.9):' ':INT(7/2)", "2.5 3 2 -2 3"},
             {"I;MOD(7,4):' ':REM(-7,4):' ':MOD(7,-4):' ':MOD(7,0)", "3 -3 3 0"},
             {"I;NOT(0):NOT(''):NOT(5):NOT('x')", "1100"},
             {"I;1/3:' ':2/3*3:' ':10/4", "0.3333 2 2.5"},
             {"I;ABS(-2/3):' ':(2/3)", "0.6667 0.6667"},
             {"I;-(2/3)", "-0.6667"},
             {"I;LEN(''):LEN('abc'):LEN(1/3)", "036"},
             {"I;UPCASE('aBc'):DOWNCASE('aBc')", "ABCabc"},
             {"I;INDEX('abab','b'):INDEX('abab','b',2):INDEX('abab','x')", "240"},
             {"I;FIELD('a*b*c','*',2):FIELD('a*b*c','*',2,2):FIELD('a','*',2)", "bb*c"},
             {"I;COUNT('aaaa','aa'):COUNT('','a'):COUNT('abc','')", "203"},
             {"I;DCOUNT('a*b','*'):DCOUNT('','*'):DCOUNT('abc','')", "203"},
             {"I;CHANGE('aXbX','X','-'):CHANGE('aXbX','X','-',1):CHANGE('aXbX','X','-',1,2)",
              "a-b-a-bXaXb-"},
             {"I;TRIM('  a  b  '):'.'", "a b."},
             {"I;TRIM('--a--','-'):TRIM('--a--','-','L'):TRIM('--a--','-','B')", "aa--a"},
             {"I;EXTRACT(@RECORD,2):'/':EXTRACT(@RECORD,2,3):'/':EXTRACT(@RECORD,6,1,2)",
              "3]4]5/5/2"},
             {"I;LEFT('abc',2):RIGHT('abc',2):LEFT('abc',9):RIGHT('abc',0)", "abbcabc"},
             {"I;'abcdef'[2,3]:'abcdef'[2]:'a b c'[' ',2,1]:'abc'[9,1]", "bcdefb"},
             {"I;@AM:@FM:@VM:@SM:@SVM:@TM", "^^]\\\\<251>"},
             {"I;@DATE:' ':@TIME:' ':DATE():' ':TIME()", "19000 3600 19000 3600"},
             {"I;@NI:@NB", "70"},
             {"I;@NV:ONE", "13]4]5"},  // one value by definition is not counted
             {"I;QTY:@NV", "3]4]51]2]3"},
             {"I;@ID:@RECORD<5>:@RECORD<2,2>:@RECORD<6,1,2>:@RECORD<99>", "17Y]Q42"},
             {"I;SUM(1:@VM:2:@SM:3)", "1]5"},
             {"I;SUM(@RECORD<6>):'/':SUM(SUM(@RECORD<6>)):'/':SUM(7)", "3]3/6/7"},
             {"I;MAXIMUM(QTY):MINIMUM(QTY):MAXIMUM('x'):MAXIMUM(-1:@VM:-2):MINIMUM(-1:@VM:-2)",
              "53-1-2"},
             {"I;OCONV('255','MX'):ICONV('FF','MX'):FMT('5','3R')", "FF255  5"},
             {"I;OCONV(1:@VM:2,'L'):FMT('a':@VM:'b','2R')", "3 a] b"},
             {"I;REUSE(5)+QTY", "8]9]10"},
             {"I;IF QTY > 4 THEN 'many' ELSE 'few'", "few"},  // texts are compared as a whole
             {"I;IF '' THEN 'a'", ""},
             {"I;1;2;@1:@2:@", "122"},
             {"I;SUBR('P',NAME,1)", "P(,Anne Lee)"},
             {"I;TRANS('CITIES','Y',1,'X'):TRANS('CITIES','Q',1,'X'):TRANS('CITIES','',1,'C')",
              "YORK"},
             {"I;TRANS('CITIES','Y',-1,'X')", "YORK^NORTH]EAST"},
             {"I;TRANS('CITIES','Q',1,'V')", "There is no record \"Q\" in file CITIES."},
             {"A;R(\"7\",\"4\"):S(2):NB:NI", "31207"},
             {"A;IF 2 = \"4\" THEN 3 ELSE \"-\"", "-]20]-"},
             {"A;1[\"6\",\"3\"]:1[\"2\"]", "Leeee"},
             {"A;NV:NS:6:2", "1113\\22]2134]315"},
             {"A;2(MD1)", "0.3]0.4]0.5"},
             {"I;TRANS('CITIES','',1,'V')", ""},
             {"A;6+\"1\"", "2\\3]4"},
             {"A;6*2", "3\\0]12]0"},
             {"F;C7;C2;R", "1"},
             {"F;C7;C2;+;C3;*", "27"},
             {"F;C7;C2;:", "72"},
             {"F;2;S;C1;-", "11"},
             {"F;C1234;C1;*3", "1"},
             {"F;C5;P;+", "10"},
             {"F;C1;C2;_;:", "21"},
             {"F;\"x;y\";'z';:", "x;yz"},
             {"F;2R;3;+", "13]24]5"},
             {"C;1;4", "Anne Lee2"},
             {"C;*;\"-\";4", "12345-2"},
         }) {
        EXPECT_EQ(Evaluated(environment, c.correlative), c.result) << c.correlative;
    }
    environment.family = Family::kR83;
    EXPECT_EQ(Evaluated(environment, "I;COUNT('aaaa','aa'):DCOUNT('aaaa','aa')"), "34");
}

TEST(Dictionary, ReadsItemsOfBothFamilies) {
    const auto drawn = [](const DictionaryItem& item) {
        if (item.kind != DictionaryItem::Kind::kField) {
            return item.kind == DictionaryItem::Kind::kPhrase ? "phrase " + Drawn(item.phrase)
                                                              : std::string("other");
        }
        std::string text = std::to_string(item.attribute);
        for (const Text& part :
             {item.conversion, item.heading, item.correlative, item.format, item.association}) {
            text += "|" + Drawn(part);
        }
        return text + "|" + static_cast<char>(item.justification) + std::to_string(item.width) +
               (item.multivalued ? " many" : " one");
    };
    const char* cases[][2] = {
        {"D Qty^2^MD2^Quan]tity^12R2,^M^LINES^x", "2|MD2|Quan]tity||12R2,|LINES|R12 many"},
        {"d^2^^^5t^s", "2||||5t||T5 one"},
        {"d^2^^^5^m", "2||||5||L5 many"},
        {"D^0^^^10'0'R^S", "0||||10'0'R||L10 one"},
        {"D^x^^^^", "0||||||L10 one"},
        {"D^-3^^^U", "0||||U||U10 one"},
        {"D^1^^^12*R^M", "1||||12*R||R12 many"},
        {"I Ext^QTY*PRICE^MD2^Ext^9R^M^LINES", "0|MD2|Ext|I;QTY*PRICE|9R|LINES|R9 many"},
        {"A^3^Pr]ice^D;2^^^MD2^A;1*2^R^9", "3|MD2|Pr]ice|A;1*2||D;2|R9 many"},
        {"S^3^Price^C;4;5^^^^^T^12", "3||Price|||C;4;5|T12 many"},
        {"a^3^^^^^^^l]x^", "3||||||L10 many"},
        {"A^3^^^^^^^Q^0", "3||||||L0 many"},
        {"PH^QTY PRICE^more", "phrase QTY PRICE"},
        {"PH a phrase^A B", "phrase A B"},
        {"X^1", "other"},
        {"DX^1", "other"},
        {"", "other"},
    };
    for (const auto& [record, item] : cases) {
        EXPECT_EQ(drawn(ReadDictionaryItem(Marked(record))), item) << record;
    }
}

TEST(Correlative, NamesWhatIsWrongAndWhere) {
    Orders environment;
    for (const Case& c : std::initializer_list<Case>{
             {"A;7**8", "at place 5, \"*\": a value is expected"},
             {"A;(7", "at place 5, its end: a closing parenthesis"},
             {"A;1 FOO", "at place 5, \"FOO\": an operator"},
             {"A;\"x", "at place 3, \"\"x\": the quote"},
             {"A;7(XYZ)", "at place 5, \"XYZ\": there is no such code"},
             {"A;7()", "there is no such code"},
             {"F;1;+", "at place 5, \"+\": there are too few"},
             {"MCU|Q5", "at place 5, \"Q5\": there is no such code"},
             {"I;QTY+NOPE", "at place 7, \"NOPE\": there is no field"},
             {"I;LINES", "\"LINES\": this is a phrase"},
             {"I;LOOP", "refers to itself"},
             {"I;NOPE(1)", "there is no function"},
             {"I;FIELD(NAME)", "needs more arguments"},
             {"I;@2;1", "\"@2\": there is no such value"},
             {"I;TRANS(NOWHERE,1,X,X)", "There is no file NOWHERE"},
             {"CALL ", "the name of a program"},
         }) {
        EXPECT_NE(Evaluated(environment, c.correlative).find(c.result), std::string::npos)
            << c.correlative << ": " << Evaluated(environment, c.correlative);
    }
    const std::string deep = "A;" + std::string(100'000, '(') + "1";
    const std::string minus = "I;" + std::string(100'000, '-') + "1";
    std::string terms = "A;1";
    for (int i = 0; i < 50'000; ++i) {
        terms += "+1";
    }
    for (const std::string& hostile : {deep, minus, terms}) {
        EXPECT_NE(Evaluated(environment, hostile.c_str()).find("nested"), std::string::npos);
        EXPECT_FALSE(IsValidCorrelative(Code(hostile)));
    }
    EXPECT_TRUE(IsValidCorrelative(Code("A;N(ANY)+1|MCU")));
    EXPECT_TRUE(IsValidCorrelative(u"I;TRANS(ANY,X,Y,'X')"));
}

TEST(Correlative, RefusesWrittenFormsThatAreNot) {
    Orders environment;
    const Text good =
        WriteExpression(CompileCorrelative(u"I;TRANS(CITIES,@ID,1,X):1", u"", environment));
    EXPECT_NO_THROW(ReadExpression(good));
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_THROW(ReadExpression(good.substr(0, length)), Error) << length;
    }
    for (const char* bad : {"{1}[.]",
                            "{1}[]",
                            "{1}[11,0,0,0;.]",
                            "{1}[12,0,2,0;.]",
                            "{1}[2,0,0,0;2,0,0,0;.]",
                            "{1}[50,0,1,0,1:F;.]",
                            "{1}[99,0,0,0;.]",
                            "{1}[0,0,0,0,99:x;.]",
                            "{2}[2,0,0,0;.]",
                            "{1}[2,0,0,0;.]x"}) {
        Text text;
        text.append(bad, bad + std::string(bad).size());
        EXPECT_THROW(ReadExpression(text), Error) << bad;
    }
}

TEST(Dictionary, ReadsBothFamiliesAndWritesItsOwn) {
    struct Row {
        const char* form;  // attribute, conversion, heading, justification, correlative, width
        Family family;
        const char* existing;
        const char* written;
    };
    const auto drawn = [](const DictionaryForm& f) {
        std::string text = std::to_string(f.attribute);
        for (const Text& part : {f.conversion, f.heading, f.justification, f.correlative}) {
            text += "^" + Drawn(part);
        }
        return text + "^" + std::to_string(f.width);
    };
    for (const Row& row : std::initializer_list<Row>{
             {"3^MD2^Pr]ice^R^^9",
              Family::kUni,
              "D old^1^^x^10L^S^ASC",
              "D old^3^MD2^Pr]ice^9R^S^ASC"},
             {"3^^Price^R^^9", Family::kUni, "D^1^^x^9R2,^M", "D^3^^Price^9R2,^M"},
             {"3^^Price^L^^9", Family::kUni, "", "D^3^^Price^9L^M"},
             {"3^^Price^L^^9", Family::kR83, "D^1^^x^9R^S", "A^3^Price^^^^^^L^9"},
             {"3^D2^P^T^MCU^9", Family::kR83, "S^1^x^D;2^^^^^L^1", "S^3^P^D;2^^^D2^MCU^T^9"},
             {"0^^Sum^R^I;SUM(A);1^9", Family::kR83, "", "I^SUM(A);1^^Sum^9R^M"},
             {"1^^Up^L^MCU^9", Family::kUni, "", "A^1^Up^^^^^MCU^L^9"},
         }) {
        const DynamicArray form(Marked(row.form));
        const DictionaryForm given{std::stoi(row.form),
                                   form.Extract({2, 0, 0}),
                                   form.Extract({3, 0, 0}),
                                   form.Extract({4, 0, 0}),
                                   form.Extract({5, 0, 0}),
                                   9};
        const Text written = WriteDictionaryItem(given, row.family, Marked(row.existing));
        EXPECT_EQ(Drawn(written), row.written);
        EXPECT_EQ(drawn(FormOf(ReadDictionaryItem(written))), row.form);
    }
}

TEST(FieldEvaluator, GivesFieldsByNameInBothForms) {
    Orders environment;
    FieldEvaluator fields(environment, u"ORDERS");
    const Text record = Marked(kRecord);
    fields.SetRecord(u"17", record);
    struct Row {
        const char16_t* name;
        std::int32_t value;
        const char* internal;
        const char* external;
    };
    for (const Row& row : std::initializer_list<Row>{{u"ext", 0, "30]80]0", "0.30]0.80]0.00"},
                                                     {u"EXT", 2, "80", "0.80"},
                                                     {u"A.FIRST", 0, "Anne", "ANNE"},
                                                     {u"F6", 1, "1\\2", "1\\2"},
                                                     {u"@ID", 0, "17", "17"},
                                                     {u"F99", 0, "", ""}}) {
        const Field* field = fields.Resolve(row.name);
        ASSERT_NE(field, nullptr);
        EXPECT_EQ(Drawn(fields.Internal(*field, {row.value, 0})), row.internal);
        EXPECT_EQ(Drawn(fields.External(*field, {row.value, 0})), row.external);
    }
    const Field& length = fields.ResolveExpression(u"LEN(NAME)");
    EXPECT_EQ(fields.Internal(length), u"8");
    const Text other = Marked("Bo");
    fields.SetRecord(u"18", other);
    EXPECT_EQ(fields.Internal(length), u"2");
    EXPECT_EQ(fields.Resolve(u"LINES"), nullptr);
    EXPECT_EQ(fields.Resolve(u"6"), nullptr) << "attributes by bare number are the other family's";
    EXPECT_THROW(fields.Resolve(u"BAD"), Error);
    environment.family = Family::kR83;
    FieldEvaluator others(environment, u"ORDERS");
    EXPECT_EQ(others.Resolve(u"F6"), nullptr);
    EXPECT_NE(others.Resolve(u"6"), nullptr);
}

}  // namespace
}  // namespace kel::expression
