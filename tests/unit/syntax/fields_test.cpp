#include "syntax/fields.h"

#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

std::string_view textOf(Text field) {
    return {field.text, field.length};
}

Text fieldOf(std::string_view text) {
    return {text.data(), size32(text)};
}

TEST(FieldSplit, CutsAtEverySemicolon) {
    const ExactText text("a;;bc");
    Text fields[3];
    ASSERT_TRUE(splitFields({text.data(), text.size()}, fields));
    EXPECT_EQ("a", textOf(fields[0]));
    EXPECT_EQ("", textOf(fields[1]));
    EXPECT_EQ("bc", textOf(fields[2]));
    EXPECT_EQ(text.data() + 0, fields[0].text);
    EXPECT_EQ(text.data() + 2, fields[1].text);
    EXPECT_EQ(text.data() + 3, fields[2].text);
}

TEST(FieldSplit, TakesEmptyFieldsAtTheEnds) {
    const ExactText text(";");
    Text fields[2];
    ASSERT_TRUE(splitFields({text.data(), text.size()}, fields));
    EXPECT_EQ("", textOf(fields[0]));
    EXPECT_EQ("", textOf(fields[1]));
    Text one[1];
    EXPECT_TRUE(splitFields({text.data(), 0}, one));
    EXPECT_EQ("", textOf(one[0]));
}

TEST(FieldSplit, WantsExactlyAsManyFields) {
    Text fields[3];
    for (const std::string_view row : {"", "a", "a;b", ";", "a;b;c;d", "a;b;c;", ";;;"}) {
        const ExactText text(row);
        EXPECT_FALSE(splitFields({text.data(), text.size()}, fields)) << row;
    }
    for (const std::string_view row : {";;", "a;b;c", "a;;", ";;c"}) {
        const ExactText text(row);
        EXPECT_TRUE(splitFields({text.data(), text.size()}, fields)) << row;
    }
}

TEST(Field, IsAStarOnlyAlone) {
    EXPECT_TRUE(isStar(fieldOf("*")));
    for (const std::string_view text : {"", "**", "*1", "1", "1*"}) {
        EXPECT_FALSE(isStar(fieldOf(text))) << text;
    }
}

TEST(Field, IsJudgedByItsFirstAndLastByte) {
    EXPECT_TRUE(hasEnds(fieldOf("1"), isDigitByte));
    EXPECT_TRUE(hasEnds(fieldOf("1x2"), isDigitByte));
    for (const std::string_view text : {"", "x", "1x", "x1", " 1", "1 ", "/", ":"}) {
        EXPECT_FALSE(hasEnds(fieldOf(text), isDigitByte)) << text;
    }
    EXPECT_TRUE(hasEnds(fieldOf(":"), isNotBlankByte));
    EXPECT_TRUE(hasEnds(fieldOf(": :"), isNotBlankByte));
    for (const std::string_view text : {"", " ", " x", "x ", "\tx", "x\r", "x\n"}) {
        EXPECT_FALSE(hasEnds(fieldOf(text), isNotBlankByte)) << text;
    }
}

}  // namespace

}  // namespace rs::test
