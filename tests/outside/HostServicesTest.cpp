#include "host/HostServices.hpp"
#include "orvian/ComponentIdentifier.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using OrvianComponents::ComponentIdentifier;
using OrvianComponents::ComponentVersion;

TEST(HostServices, ValidNamesAreAsciiIdentifiersOfAtMost63Characters) {
    for (const ustring& good : {ustring(u"a"), ustring(u"Abc_12_"), ustring(63, u'x')})
        EXPECT_TRUE(qvIsValidOrvName(good));
    for (const ustring& bad :
         {ustring(64, u'x'), ustring(), ustring(u"_a"), ustring(u"1a"), ustring(u"a-b"), ustring(u"\u00e9t\u00e9")})
        EXPECT_FALSE(qvIsValidOrvName(bad)) << bad.size();
}

TEST(ComponentIdentifier, VersionsCompareNumericallyWithoutTrailingZeros) {
    EXPECT_EQ(ComponentVersion("1.2"), ComponentVersion("1.2.0.0"));
    EXPECT_EQ(ComponentVersion("1.2.0").toString(), "1.2.0");
    EXPECT_LT(ComponentVersion("1.9"), ComponentVersion("1.10"));
    EXPECT_LT(ComponentVersion("1"), ComponentVersion("1.0.1"));
    EXPECT_FALSE(ComponentVersion("2.0") < ComponentVersion("2"));
    for (const char* bad : {"", "1.", ".1", "1..2", "a", "1.-2", " 1", "99999999999"})
        EXPECT_THROW(ComponentVersion{bad}, std::invalid_argument) << bad;

    boost::uuids::uuid uuid{};
    uuid.data[0] = 7;
    const ComponentIdentifier a(u"name", ComponentVersion("3.1"), uuid), b(u"other", ComponentVersion("3.1.0"), uuid);
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_NE(a, ComponentIdentifier(u"name", ComponentVersion("3.2"), uuid));
    uuid.data[0] = 8;
    EXPECT_NE(a, ComponentIdentifier(u"name", ComponentVersion("3.1"), uuid));
}

}  // namespace
