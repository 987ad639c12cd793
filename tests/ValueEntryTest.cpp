// Taking value entries apart, replacing sub-fields and composing the entry again.
#include <gtest/gtest.h>

#include <algorithm>

#include "MeterDatabase/ValueEntry.h"
#include "tests/support/SubFieldTexts.h"

using namespace MeterRecords;

namespace {

using Fields = std::vector<std::string>;

Fields RawFields(const ValueEntry& entry) {
    Fields fields;
    for (int field = kAttributes; field < kSubFields; ++field)
        fields.push_back(entry.Raw(static_cast<SubField>(field)));
    return fields;
}

std::string Recomposed(const std::string& text) {
    return ValueEntry(text).Compose();
}

std::string AfterSet(const std::string& entry, SubField field, const std::string& bare) {
    ValueEntry changed(entry);
    changed.Set(field, bare);
    return changed.Compose();
}

std::string AfterRewrite(const std::string& entry, SubField field, const char* given) {
    ValueEntry changed(entry);
    changed.Rewrite(field, given);
    return changed.Compose();
}

// The raw value after it is replaced, as it stands between its separators.
std::string ValueSetTo(const std::string& bare) {
    ValueEntry entry;
    entry.Set(kValue, bare);
    return entry.Raw(kValue);
}

}  // namespace

// ---- taking apart

TEST(ValueEntryParsing, SplitsAtTheFirstFourCommasOutsideQuotes) {
    const std::vector<std::pair<std::string, Fields>> rows = {
        {R"(A,U,8,12,"note")", {"A", "U", "8", "12", R"("note")"}},
        {R"(A,U,"8,C0;9","1,5","a, b")", {"A", "U", R"("8,C0;9")", R"("1,5")", R"("a, b")"}},
        {R"(A,U,8,12,say "hi", or "no")", {"A", "U", "8", "12", R"(say "hi", or "no")"}},
        {R"(A,U,8,12,"say "hi", or no")", {"A", "U", "8", "12", R"("say "hi", or no")"}},
        {R"(A,U,8,12,"a","b")", {"A", "U", "8", "12", R"("a","b")"}},
        {",,,,", {"", "", "", "", ""}},
        {",,,,,", {"", "", "", "", ","}},
        {R"("","","","","")", {R"("")", R"("")", R"("")", R"("")", R"("")"}},
        {"", {"", "", "", "", ""}},
        {"U", {"U", "", "", "", ""}},
        {"A,U", {"A", "U", "", "", ""}},
        {"A,U,8,12", {"A", "U", "8", "12", ""}},
        {"A,U,8,12,", {"A", "U", "8", "12", ""}},
        {R"(A,U,8,"12,"x")", {"A", "U", "8", R"("12,"x")", ""}},
        {R"(A,U,8,5",x)", {"A", "U", "8", R"(5")", "x"}},
        {" A , U ,8,12,x", {" A ", " U ", "8", "12", "x"}},
    };
    for (const auto& [text, fields] : rows)
        EXPECT_EQ(RawFields(ValueEntry(text)), fields) << text;
}

TEST(ValueEntryParsing, StartsANewEntryFromItsDefaults) {
    EXPECT_EQ(RawFields(ValueEntry()), (Fields{"A", "U", "8", "", R"("")"}));
    EXPECT_EQ(ValueEntry().Compose(), R"(A,U,8,,"")");
}

TEST(ValueEntryParsing, Reads4095Characters) {
    EXPECT_EQ(ValueEntry(Text(9000)).Raw(kAttributes), Text(4095));
    EXPECT_EQ(ValueEntry("A,U,8,1," + Text(9000)).Raw(kText), Text(4087));
    const ValueEntry entry(Text(4092) + ",A," + Text(9000));
    EXPECT_EQ(RawFields(entry), (Fields{Text(4092), "A", "", "", ""}));
}

TEST(ValueEntryParsing, NeedsACommaToBeAValue) {
    EXPECT_FALSE(ValueEntry::IsValue(""));
    EXPECT_FALSE(ValueEntry::IsValue("R"));
    EXPECT_FALSE(ValueEntry::IsValue("Uhr; \"x\""));
    EXPECT_TRUE(ValueEntry::IsValue(","));
    EXPECT_TRUE(ValueEntry::IsValue("R,U"));
}

TEST(ValueEntryBare, IsTheSubFieldWithoutItsEnclosingQuotes) {
    const ValueEntry entry(R"("A",U,"8,C0;9","say "hi"","a "b"")");
    EXPECT_EQ(entry.Bare(kAttributes), "A");
    EXPECT_EQ(entry.Bare(kStatus), "U");
    EXPECT_EQ(entry.Bare(kDefinition), "8,C0;9");
    EXPECT_EQ(entry.Bare(kValue), R"(say "hi")");
    EXPECT_EQ(entry.Bare(kText), R"(a "b")");
    EXPECT_EQ(ValueEntry("A,U,8,1,free").Bare(kText), "free");
}

TEST(ValueEntryBare, OfTheFirstFourCarries255Characters) {
    for (const SubField field : {kAttributes, kStatus, kDefinition, kValue}) {
        const std::string front(static_cast<std::size_t>(field), ',');
        for (const std::size_t length : {254U, 255U, 256U, 300U}) {
            const std::string expected = Text(std::min<std::size_t>(length, 255));
            EXPECT_EQ(ValueEntry(front + Text(length)).Bare(field), expected) << length;
            EXPECT_EQ(ValueEntry(front + InQuotes(Text(length))).Bare(field), expected) << length;
        }
    }
    EXPECT_EQ(ValueEntry(",,,," + InQuotes(Text(300))).Bare(kText), Text(300)) << "the text is whole";
}

// ---- composing

TEST(ValueEntryComposing, LeavesEverySubFieldAsItStood) {
    for (const char* text : {
             R"(A,U,8,12,"note")",
             R"("A",U,"8,C0;9","1,5","a "b", c")",
             R"(,,,,"")",
             R"(A,U,8,5",""")",
             R"(A,U,"x"y",a"b"c,""")",
             R"(A,U,"""",1,""""")",
         })
        EXPECT_EQ(Recomposed(text), text);
}

TEST(ValueEntryComposing, KeepsLongSubFieldsWhole) {
    for (const std::size_t length : {252U, 253U, 255U, 256U, 900U}) {
        const std::string entry = Text(length, 'a') + ",s," + InQuotes(WithComma(length)) + "," +
                                  InQuotes(Text(length)) + "," + InQuotes(Text(length, 't'));
        EXPECT_EQ(Recomposed(entry), entry) << length;
    }
}

TEST(ValueEntryComposing, EnclosesAMissingOrUnquotedText) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", R"(,,,,"")"},
        {"A", R"(A,,,,"")"},
        {"A,U,8,12", R"(A,U,8,12,"")"},
        {"A,U,8,12,", R"(A,U,8,12,"")"},
        {"A,U,8,12,free", R"(A,U,8,12,"free")"},
        {R"(A,U,8,12,say "hi")", R"(A,U,8,12,"say "hi"")"},
        {R"(A,U,8,12,"open)", R"(A,U,8,12,"open")"},
        {R"(A,U,8,12,")", R"(A,U,8,12,"")"},
    };
    for (const auto& [text, composed] : rows) {
        EXPECT_EQ(Recomposed(text), composed) << text;
        EXPECT_EQ(Recomposed(composed), composed) << text;
        EXPECT_EQ(ValueEntry(composed).Bare(kText), ValueEntry(text).Bare(kText)) << text;
    }
}

TEST(ValueEntryComposing, DropsAQuoteThatWouldSwallowTheText) {
    EXPECT_EQ(Recomposed(R"(A,U,8,"x)"), R"(A,U,8,x,"")");
    EXPECT_EQ(Recomposed(R"(A,"U,8,1,)"), R"(A,U,8,1,"")");
    EXPECT_EQ(Recomposed(R"(",U,8,1,free)"), R"(,U,8,1,"free")");
    EXPECT_EQ(Recomposed(R"("A"b,U,8,1,free)"), R"(Ab,U,8,1,"free")");
}

TEST(ValueEntryComposing, MakesOneLineOfLineBreaks) {
    EXPECT_EQ(Recomposed("A\r,U,\"8\r,9\",1,\"a\rb\""), "A ,U,\"8 ,9\",1,\"a b\"");
}

TEST(ValueEntryComposing, CutsTheTextAndKeepsItsClosingQuote) {
    const std::string head = "A,U,8,12,";
    const std::size_t room = ValueEntry::kEntryChars - head.size() - 2;
    EXPECT_EQ(Recomposed(head + InQuotes(Text(room - 1))), head + InQuotes(Text(room - 1)));
    EXPECT_EQ(Recomposed(head + InQuotes(Text(room))), head + InQuotes(Text(room)));
    for (const std::size_t length : {room + 1, room + 2, room + 900})
        EXPECT_EQ(Recomposed(head + InQuotes(Text(length))), head + InQuotes(Text(room))) << length;
    EXPECT_EQ(Recomposed(head + Text(room + 2)), head + InQuotes(Text(room))) << "unquoted, as read";
}

TEST(ValueEntryComposing, OfAnEntryCutAnywhereIsStable) {
    const std::vector<std::string> entries = {
        "A,U,8,12," + InQuotes("a \"b\" " + Text(5000)),
        "A,U,8,12," + Text(5000),
        "A,U,8," + Text(5000) + ",\"t\"",
        "A,U,8," + InQuotes(Text(5000)) + ",\"t\"",
        "A,U,8," + InQuotes(WithComma(5000)) + ",\"t\"",
        "A,U," + InQuotes(Text(4080) + ",B") + ",1,\"t\"",
        Text(5000, ','),
        Text(5000, '"'),
        Text(5000) + ",U,8,1,\"t\"",
        Text(4094) + ",U",
        Text(5000) + "," + Text(5000) + "," + Text(5000) + "," + Text(5000) + "," + Text(5000),
        Text(1023) + "," + Text(1023) + "," + Text(1023) + "," + Text(1022) + ",\"t\"",
    };
    for (const std::string& entry : entries) {
        const std::string once = Recomposed(entry);
        EXPECT_LE(once.size(), ValueEntry::kEntryChars) << entry.substr(0, 20);
        EXPECT_EQ(Recomposed(once), once) << entry.substr(0, 20);
        EXPECT_EQ(once.back(), '"') << entry.substr(0, 20);
    }
}

TEST(ValueEntryComposing, MakesRoomInTheLongestSubField) {
    EXPECT_EQ(Recomposed("A,U,8," + Text(4083) + ",\"\""), "A,U,8," + Text(4083) + ",\"\"");
    EXPECT_EQ(Recomposed("A,U,8," + Text(4086) + ",\"\""), "A,U,8," + Text(4086) + ",\"\"");
    EXPECT_EQ(Recomposed("A,U,8," + Text(4087) + ",\""), "A,U,8," + Text(4086) + ",\"\"");
    EXPECT_EQ(Recomposed("A,U,8," + Text(4089)), "A,U,8," + Text(4086) + ",\"\"");
    EXPECT_EQ(Recomposed("A,U," + InQuotes(Text(4083)) + ",1,"), "A,U," + InQuotes(Text(4083)) + ",1,\"\"");
    EXPECT_EQ(Recomposed("A,U," + InQuotes(Text(4085)) + ",1,"), "A,U," + InQuotes(Text(4084)) + ",1,\"\"");
    EXPECT_EQ(AfterSet("A,U,8," + Text(4080) + ",\"t\"", kStatus, Text(255)),
              "A," + Text(255) + ",8," + Text(3832) + ",\"\"");
}

// ---- replacing a sub-field

TEST(ValueEntrySet, QuotesWhatHoldsACommaBelow253Characters) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""},
        {"12", "12"},
        {"1,5", R"("1,5")"},
        {",", R"(",")"},
        {WithComma(252), InQuotes(WithComma(252))},
        {WithComma(253), WithComma(253)},
        {WithComma(255), WithComma(255)},
        {Text(252), Text(252)},
        {Text(255), Text(255)},
        {Text(256), Text(255)},
        {Text(252) + ",abc", Text(252) + ",ab"},
        {Text(255) + ",", Text(255)},
    };
    for (const auto& [bare, raw] : rows) {
        EXPECT_EQ(ValueSetTo(bare), raw) << bare;
        for (const SubField field : {kAttributes, kStatus, kDefinition}) {
            ValueEntry entry;
            entry.Set(field, bare);
            EXPECT_EQ(entry.Raw(field), raw) << bare;
        }
    }
}

TEST(ValueEntrySet, DropsQuotesThatWouldTakeTheEntryApart) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"(say "hi")", R"(say "hi")"},
        {R"(5")", R"(5")"},
        {R"("hi)", "hi"},
        {R"("hi")", "hi"},
        {R"(")", ""},
        {R"(a",b)", R"("a,b")"},
        {R"("1,5")", R"("1,5")"},
        {R"(a"b"c,d)", R"("abc,d")"},
        {Text(200, '"') + WithComma(252), InQuotes(WithComma(252))},
    };
    for (const auto& [bare, raw] : rows)
        EXPECT_EQ(ValueSetTo(bare), raw) << bare;
}

TEST(ValueEntrySet, MakesOneBlankOfALineBreak) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"a\r\nb", "a b"},       {"a\nb", "a b"}, {"a\rb", "a b"},        {"a\n\rb", "a  b"},
        {"a\r\r\n\nb", "a   b"}, {"\r\n", " "},   {"a,\nb", R"("a, b")"}, {"a\r\n", "a "},
    };
    for (const auto& [bare, raw] : rows)
        EXPECT_EQ(ValueSetTo(bare), raw);
    EXPECT_EQ(AfterSet("A,U,8,1,", kText, "a\r\nb"), R"(A,U,8,1,"a b")");
    EXPECT_EQ(ValueSetTo(Text(254) + "\r\nx"), Text(254) + " ") << "cut after the break is one blank";
}

TEST(ValueEntrySet, EnclosesTheTextAndKeepsItsQuotes) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", R"("")"},
        {"note", R"("note")"},
        {R"(say "hi", or)", R"("say "hi", or")"},
        {R"(")", R"(""")"},
        {R"("quoted")", R"(""quoted"")"},
        {Text(255), InQuotes(Text(255))},
        {Text(256), InQuotes(Text(255))},
        {WithComma(255), InQuotes(WithComma(255))},
    };
    for (const auto& [bare, raw] : rows) {
        EXPECT_EQ(AfterSet("A,U,8,1,old", kText, bare), "A,U,8,1," + raw) << bare;
        EXPECT_EQ(ValueEntry("A,U,8,1," + raw).Bare(kText), bare.substr(0, 255));
    }
}

TEST(ValueEntrySet, LeavesTheOtherSubFieldsAsTheyStood) {
    const std::string before = R"("R",U,"8,C0;9",1,"a "b", c")";
    EXPECT_EQ(AfterSet(before, kStatus, "DR"), R"("R",DR,"8,C0;9",1,"a "b", c")");
    EXPECT_EQ(AfterSet(before, kValue, "2,5"), R"("R",U,"8,C0;9","2,5","a "b", c")");
    EXPECT_EQ(AfterSet(before, kDefinition, "8"), R"("R",U,8,1,"a "b", c")");
    EXPECT_EQ(AfterSet(before, kAttributes, ""), R"(,U,"8,C0;9",1,"a "b", c")");
    EXPECT_EQ(AfterSet(before, kText, "t"), R"("R",U,"8,C0;9",1,"t")");
}

// ---- rewriting a sub-field

TEST(ValueEntryRewrite, DropsEveryQuoteOfWhatIsGiven) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"(say "hi")", "say hi"},
        {R"("1,5")", R"("1,5")"},
        {R"(5")", "5"},
        {"", ""},
        {WithComma(252), InQuotes(WithComma(252))},
        {WithComma(253), WithComma(253)},
        {InQuotes(WithComma(252)), InQuotes(WithComma(252))},
        {InQuotes(WithComma(253)), WithComma(253)},
        {Text(256), Text(255)},
        {"a\r\nb", "a b"},
    };
    for (const auto& [given, raw] : rows)
        for (const SubField field : {kAttributes, kStatus, kDefinition, kValue}) {
            ValueEntry entry;
            entry.Rewrite(field, given.c_str());
            EXPECT_EQ(entry.Raw(field), raw) << given;
        }
}

TEST(ValueEntryRewrite, WritesAGivenTextExactlyBetweenQuotes) {
    for (const std::string given : {"", "note", R"(say "hi", or)", R"("quoted")"})
        EXPECT_EQ(AfterRewrite("A,U,8,1,old", kText, given.c_str()), "A,U,8,1,\"" + given + "\"");
    EXPECT_EQ(AfterRewrite("A,U,8,1,old", kText, Text(256).c_str()), "A,U,8,1," + InQuotes(Text(255)));
}

TEST(ValueEntryRewrite, KeepsWhatIsNotGivenWithoutASecondPairOfQuotes) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"12", "12"},
        {R"("1,5")", R"("1,5")"},
        {R"("12")", "12"},
        {R"("")", ""},
        {R"("say "hi"")", "say hi"},
        {R"("a"b,c")", R"("ab,c")"},
        {R"(5")", "5"},
        {Text(255), Text(255)},
        {Text(256), Text(255)},
        {InQuotes(Text(256)), Text(255)},
        {InQuotes(WithComma(252)), InQuotes(WithComma(252))},
        {InQuotes(WithComma(253)), InQuotes(WithComma(253))},
        {InQuotes(WithComma(255)), InQuotes(WithComma(255))},
        {InQuotes(WithComma(900)), InQuotes(WithComma(900))},
        {InQuotes("\"" + WithComma(300)), InQuotes(WithComma(300))},
    };
    for (const auto& [raw, kept] : rows)
        EXPECT_EQ(AfterRewrite("A,U,8," + raw + ",\"t\"", kValue, nullptr), "A,U,8," + kept + ",\"t\"");
}

TEST(ValueEntryRewrite, KeepsATextOfUpTo255Characters) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"("note")", R"("note")"},
        {R"("a "b", c")", R"("a "b", c")"},
        {R"(""a"")", R"(""a"")"},
        {"free", R"("free")"},
        {InQuotes(WithComma(255)), InQuotes(WithComma(255))},
        {InQuotes(Text(256)), InQuotes(Text(255))},
        {Text(256), InQuotes(Text(255))},
    };
    for (const auto& [raw, kept] : rows)
        EXPECT_EQ(AfterRewrite("A,U,8,1," + raw, kText, nullptr), "A,U,8,1," + kept);
}
