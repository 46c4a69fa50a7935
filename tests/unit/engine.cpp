// The template engine, formats and the action queue.
#include "base/format.h"
#include "framework/action_queue.h"
#include "framework/cgi-lib.h"
#include "framework/page.h"
#include "framework/parser.h"
#include "root.h"

namespace {

TEST(Format, KnowsItsDirectivesAndCopiesTheRest) {
    for (const auto& [text, expected] :
         Pairs{{format_text("%s: %ld of %lu, %c", "web", -2L, 65L), "web: -2 of 65, %c"},
               {format_text("%c %x %i", 65L, 255L, -3L), "A ff -3"},
               {format_text("%u %d %x", -1L, "many", "text"), "4294967295 many text"},
               {format_text("100%% %%s %%%s %n %5d %1$s %*s %1000s %", "%n%%"),
                "100% %s %%n%% %n %5d %1$s %*s %1000s %"},
               {format_text("%.2s|%-5s|%8.3s", "abc", "abc", "abcde"), "ab|abc  |     abc"},
               {format_text("%.s|%-s|%2s", "abc", "abc", "abc"), "|abc|abc"}})
        EXPECT_EQ(text, expected);
}

template <int number>
int fail_with(ValueText& value, LongText&, int& error) {
    value = "never shown";
    return error = number;
}

const std::string kLongest(126, 'n');  // NOLINT: a key, made before main

std::string expand(const std::string& text, const char* message = nullptr) {
    // A getter may rely on an empty buffer.
    const auto ok = [](ValueText& value, LongText&, int&) { return (value.append("value"), 0); };
    const auto longer = [](ValueText& value, LongText& shown, int&) {
        return (value = "short", shown = "@ok#" + std::string(200, 'l'), 0);
    };
    const KeyGetter keys[] = {
        {"ok", ok},         {"long", longer},     {"bad", fail_with<7>},  {"worse", fail_with<8>},
        {"plain", nullptr}, {"ok", fail_with<7>}, {kLongest.c_str(), ok}, {"ok|bar", ok}};
    const ArrayFun lists[] = {{"ok", [](LongText& shown, int&) { return (shown = "<li>@ok#", 0); }},
                              {"empty", [](LongText&, int&) { return 0; }},
                              {"bad", [](LongText&, int& error) { return error = 9; }}};
    FormList form;
    parse_data_record("ok=form&plain=B&plain=A&typed=%40ok%23&mark=%22%26&mark|HTML=odd", form);
    const Expansion result = expand_template(text, keys, lists, message, &form);
    return result.error ? "error " + std::to_string(*result.error) : result.page;
}

TEST_F(Root, TemplatesExpand) {
    put_file("cgi_err", "2-a\n52-b\n7-seven\n8-eight\n9-nine\n");
    const std::string full(kPageSize - 11, 'p');
    for (const auto& [text, page] :
         Pairs{{"<@ok#@ok#>@long##00ffff @plain# @typed# @unknown# @OK# @#@abc",
                "<valuevalue>@ok#" + std::string(200, 'l') + "#00ffff A @ok#   @abc"},
               {"//@ok#.//@empty#.//@plain#.//@n" + kLongest + "#.//@lst", "<li>@ok#....//@lst#"},
               {"http://x /@ok# ///@ok#\xff//", "http://x /@ok# ///value\xff//\xff"},
               {std::string("@").append(kLongest).append("#@n").append(kLongest).append("#@ok#/"),
                "value@n" + kLongest + "#value/"},
               {"//@nn" + kLongest + "#@ok#@", "//@nn" + kLongest + "##value@"},
               {"@message#@bad#.@worse#.@message#//@bad#@message#", "..eight\nnine\n"},
               {"@ok#@bad#", "error 7"},
               {"@bad#//@bad#", "error 9"},
               {"@ok|bar#@ok|bar|html#@|html#@mark|HTML#//@ok|bar#", "valuevalueodd"},
               {full + "@mark|html#", "error 2"},
               {full.substr(1) + "@mark|html#", full.substr(1) + "&quot;&amp;"}})
        EXPECT_EQ(expand(text), page);
    EXPECT_EQ(expand("@bad#.@message#@message|html#", "<"), ".<&lt;");
    warn_no = 52;
    EXPECT_EQ(expand("@message#", "told"), "told");
    EXPECT_EQ(expand("@bad#@message#"), "seven\n");
    warn_no = 0;
}

TEST(Queue, TakesKnownActionsOnce) {
    ProcHeads heads;
    ProcFlags queued{};
    ProcTails tails{};
    EXPECT_EQ(AddProcToQueue(ProcNum, &heads, &queued, &tails), -1);
    EXPECT_EQ(AddProcToQueue(kDelay, nullptr, &queued, &tails), -2);
    EXPECT_EQ(AddProcToQueue(kDelay, &heads, &queued, nullptr), -2);
    EXPECT_EQ(AddProcToQueue(kDelay, &heads, &queued, &tails), 0);
    EXPECT_EQ(AddProcToQueue(kDelay, &heads, &queued, &tails), 0);
    EXPECT_EQ(heads[2]->next, nullptr);
}

}  // namespace
