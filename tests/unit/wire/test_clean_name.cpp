#include "wire/clean_name.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(CleanName, KeepsHostCharactersAndFoldsDots)
{
    const std::pair<const char*, const char*> cases[] = {
        {"  Home.LAN  ", "home.lan"},
        {"..a..b...c..", "a.b.c"},
        {"my_host!.example", "myhost.example"},
        {"...", ""},
        {"", ""},
        {"x-1.y-2", "x-1.y-2"},
        {"\tLaptop-WiFi\r", "laptop-wifi"},
        {"caf\xc3\xa9.lan", "caf.lan"},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(CleanName(in), out) << in;
}

} // namespace quorvane
