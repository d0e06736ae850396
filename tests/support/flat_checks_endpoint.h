// What must hold of the flat lookups of rules with two endpoints: whichever entries a test takes,
// they find the one that the ordered structures find.
#pragma once

namespace rs {

struct IpPortIndex;
struct PacketFilterTable;

}  // namespace rs

namespace rs::test {

void checkIpPortLookups(const IpPortIndex& index);
void checkPacketFilterLookups(const PacketFilterTable& table);

}  // namespace rs::test
