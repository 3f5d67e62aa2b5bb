#include "BrantleCore/Packages.hpp"

#include <gtest/gtest.h>

TEST(Packages, ExtensionTestIgnoresCaseAndLeadingDot) {
    namespace Packages = brantle::Packages;
    EXPECT_TRUE(Packages::isPackageName("Foo.APP"));
    EXPECT_TRUE(Packages::isPackageName("a.b.Photoslibrary"));
    EXPECT_TRUE(Packages::isPackageName("Disk.sparsebundle"));
    EXPECT_FALSE(Packages::isPackageName(".app"));
    EXPECT_FALSE(Packages::isPackageName("app"));
    EXPECT_FALSE(Packages::isPackageName("x."));
    EXPECT_FALSE(Packages::isPackageName("x.app.zip"));
    EXPECT_FALSE(Packages::isPackageName("x.extraordinarilylongextension"));
}
