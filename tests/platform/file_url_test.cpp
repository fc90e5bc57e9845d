#include "platform/file_url.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <string>

namespace larkspool {
namespace {

TEST(FileURL, NamesAPath)
{
    struct Case {
        const char* when;
        std::string_view text, path;
    };
    for (const Case& c :
         {Case{"a plain path", "/films/a.mp4", "/films/a.mp4"}, Case{"a relative path", "a b.mp4", "a b.mp4"},
          Case{"a percent sign in a plain path", "/films/50%20.mp4", "/films/50%20.mp4"}, Case{"nothing", "", ""},
          Case{"a URL", "file:///films/a.mp4", "/films/a.mp4"}, Case{"a URL of one slash", "file:/films/a.mp4", "/films/a.mp4"},
          Case{"a URL with a host", "file://localhost/films/a.mp4", "/films/a.mp4"}, Case{"a host alone", "file://localhost", ""},
          Case{"a scheme in capitals", "FILE:///a", "/a"},
          Case{"escapes", "file:///my%20films/%C3%A9t%c3%a9.mp4", "/my films/\xc3\xa9t\xc3\xa9.mp4"},
          Case{"an escaped question mark", "file:///a%3Fb", "/a?b"}, Case{"a query and a fragment", "file:///a?b#c", "/a"},
          Case{"escapes that are none", "file:///a%2%zz%", "/a%2%zz%"}, Case{"an escaped zero byte", "file:///a%00b", ""},
          Case{"another scheme", "https://a/b", "https://a/b"}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(pathFromURLOrPath(c.text), c.path);
    }
}

TEST(FileURL, EscapesWhatAURLCannotHold)
{
    EXPECT_EQ(fileURLFromPath("/my films/50%?#.mp4"), "file:///my%20films/50%25%3F%23.mp4");
}

TEST(FileURL, GivesEveryPathBack)
{
    EXPECT_TRUE(rc::check("path to URL to path", [](const std::string& name) {
        std::string path = "/" + name;
        std::erase(path, '\0');
        RC_ASSERT(pathFromURLOrPath(fileURLFromPath(path)) == path);
    }));
}

} // namespace
} // namespace larkspool
