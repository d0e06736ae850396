#include "syntax/fields.h"

#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

std::string_view textOf(const Field& field) {
    return {field.text, field.length};
}

Field fieldOf(std::string_view text) {
    return {text.data(), size32(text)};
}

TEST(FieldSplit, CutsAtEverySemicolon) {
    const ExactText text("a;;bc");
    Field fields[3];
    ASSERT_TRUE(splitFields(text.data(), text.size(), fields));
    EXPECT_EQ("a", textOf(fields[0]));
    EXPECT_EQ("", textOf(fields[1]));
    EXPECT_EQ("bc", textOf(fields[2]));
    EXPECT_EQ(0, fields[0].offsetFrom(text.data()));
    EXPECT_EQ(2, fields[1].offsetFrom(text.data()));
    EXPECT_EQ(3, fields[2].offsetFrom(text.data()));
}

TEST(FieldSplit, TakesEmptyFieldsAtTheEnds) {
    const ExactText text(";");
    Field fields[2];
    ASSERT_TRUE(splitFields(text.data(), text.size(), fields));
    EXPECT_EQ("", textOf(fields[0]));
    EXPECT_EQ("", textOf(fields[1]));
    Field one[1];
    EXPECT_TRUE(splitFields(text.data(), 0, one));
    EXPECT_EQ("", textOf(one[0]));
}

TEST(FieldSplit, WantsExactlyAsManyFields) {
    Field fields[3];
    for (const std::string_view row : {"", "a", "a;b", ";", "a;b;c;d", "a;b;c;", ";;;"}) {
        const ExactText text(row);
        EXPECT_FALSE(splitFields(text.data(), text.size(), fields)) << row;
    }
    for (const std::string_view row : {";;", "a;b;c", "a;;", ";;c"}) {
        const ExactText text(row);
        EXPECT_TRUE(splitFields(text.data(), text.size(), fields)) << row;
    }
}

TEST(Field, IsAStarOnlyAlone) {
    EXPECT_TRUE(fieldOf("*").isStar());
    for (const std::string_view text : {"", "**", "*1", "1", "1*"}) {
        EXPECT_FALSE(fieldOf(text).isStar()) << text;
    }
}

TEST(Field, IsJudgedByItsFirstAndLastByte) {
    EXPECT_TRUE(fieldOf("1").hasEnds(isDigitByte));
    EXPECT_TRUE(fieldOf("1x2").hasEnds(isDigitByte));
    for (const std::string_view text : {"", "x", "1x", "x1", " 1", "1 ", "/", ":"}) {
        EXPECT_FALSE(fieldOf(text).hasEnds(isDigitByte)) << text;
    }
    EXPECT_TRUE(fieldOf(":").hasEnds(isNotBlankByte));
    EXPECT_TRUE(fieldOf(": :").hasEnds(isNotBlankByte));
    for (const std::string_view text : {"", " ", " x", "x ", "\tx", "x\r", "x\n"}) {
        EXPECT_FALSE(fieldOf(text).hasEnds(isNotBlankByte)) << text;
    }
}

}  // namespace

}  // namespace rs::test
