#include "ipport/address_list.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/endpoint_text.h"
#include "support/text.h"

namespace rs::test {

namespace {

std::string textOf(const AddressRange* first) {
    std::string text;
    for (const AddressRange* node = first; node != nullptr; node = node->next) {
        text += (text.empty() ? "" : " ") + rangeText(node->low, node->high);
    }
    return text;
}

OwnedAddressList listOf(std::string_view field, bool isWide) {
    OwnedAddressList list;
    const ExactText text(field);
    EXPECT_TRUE(parseAddressList(text.data(), text.size(), isWide, list)) << field;
    return list;
}

constexpr std::string_view EVERY_ADDRESS = "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff";

TEST(AddressList, HoldsIpv4AddressesInWord0OfTheDefaultForm) {
    EXPECT_EQ("a000001:0:0:0", textOf(listOf("10.0.0.1", false).get()));
    EXPECT_EQ("a000000:0:0:0-affffff:0:0:0", textOf(listOf("10.0.0.0/8", false).get()));
    EXPECT_EQ("a000001:0:0:0-a000009:0:0:0", textOf(listOf("10.0.0.1-10.0.0.9", false).get()));
}

TEST(AddressList, HoldsIpv4AddressesMappedInWord3OfTheWideForm) {
    EXPECT_EQ("0:0:ffff:a000001", textOf(listOf("10.0.0.1", true).get()));
    EXPECT_EQ("0:0:ffff:a000000-0:0:ffff:affffff", textOf(listOf("10.0.0.0/8", true).get()));
    EXPECT_EQ("20010db8:0:0:1", textOf(listOf("2001:db8::1", true).get()));
}

TEST(AddressList, RunsInReverseTextOrder) {
    EXPECT_EQ("3000000:0:0:0 2000000:0:0:0 1000000:0:0:0",
              textOf(listOf("1.0.0.0,2.0.0.0,3.0.0.0", false).get()));
    EXPECT_EQ("0:0:0:1 0:0:ffff:1000000", textOf(listOf("1.0.0.0,::1", true).get()));
}

TEST(AddressList, TakesAStarForEveryAddressInBothForms) {
    EXPECT_EQ(EVERY_ADDRESS, textOf(listOf("*", false).get()));
    EXPECT_EQ(EVERY_ADDRESS, textOf(listOf("*", true).get()));
}

TEST(AddressList, RefusesAnyBadItem) {
    OwnedAddressList list;
    EXPECT_FALSE(parseAddressList("1.0.0.0,::1", 11, false, list));
    for (const std::string_view field :
         {"", "x", "1.0.0.0,x", "x,1.0.0.0", "1.0.0.2-1.0.0.1", "1.0.0.0,*", "**", "1.0.0.0,"}) {
        EXPECT_FALSE(parseAddressList(field.data(), size32(field), false, list)) << field;
        EXPECT_FALSE(parseAddressList(field.data(), size32(field), true, list)) << field;
    }
}

TEST(AddressList, GivesUpWhatHasNoIpv4Form) {
    const OwnedAddressList list =
        listOf("1.0.0.0,2001:db8::1,2.0.0.0/8,::/1,::ffff:3.0.0.0-::1:0:0:0", true);
    OwnedAddressList ipv4;
    ASSERT_TRUE(copyAsIpv4List(list.get(), false, ipv4));
    EXPECT_EQ("2000000:0:0:0-2ffffff:0:0:0 1000000:0:0:0", textOf(ipv4.get()));
    const OwnedAddressList wide = listOf("::1", true);
    ASSERT_TRUE(copyAsIpv4List(wide.get(), false, ipv4));
    EXPECT_EQ(nullptr, ipv4);
}

TEST(AddressList, TakesTheLastWordsOfAStar) {
    const OwnedAddressList list = listOf("*", true);
    OwnedAddressList ipv4;
    ASSERT_TRUE(copyAsIpv4List(list.get(), true, ipv4));
    EXPECT_EQ("0:0:0:0-ffffffff:0:0:0", textOf(ipv4.get()));
    ASSERT_TRUE(copyAsIpv4List(list.get(), false, ipv4));
    EXPECT_EQ(nullptr, ipv4);
}

TEST(AddressList, IsConvertedFromTheIpv4FormToTheMappedOne) {
    const OwnedAddressList list = listOf("1.0.0.0,2.0.0.0/8", false);
    convertToMapped(list.get());
    EXPECT_EQ("0:0:ffff:2000000-0:0:ffff:2ffffff 0:0:ffff:1000000", textOf(list.get()));
    const OwnedAddressList star = listOf("*", false);
    convertToMapped(star.get());
    EXPECT_EQ("0:0:ffff:0-0:0:ffff:ffffffff", textOf(star.get()));
    convertToMapped(nullptr);
}

}  // namespace

}  // namespace rs::test
