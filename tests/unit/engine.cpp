// The form, the template engine, formats, messages and the action queue.
#include "base/format.h"
#include "base/paths.h"
#include "base/text.h"
#include "framework/action_queue.h"
#include "framework/cgi-lib.h"
#include "framework/msgfile.h"
#include "framework/page.h"
#include "framework/parser.h"
#include "root.h"

namespace {

FormList form_of(std::string_view query) {
    FormList list;
    parse_data_record(query, list);
    return list;
}

TEST(Format, KnowsItsDirectivesAndCopiesTheRest) {
    for (const auto& [text, expected] :
         Pairs{{format_text("%s: %d of %u", "web", -2L, 3L), "web: -2 of 3"},
               {format_text("%ld %lu %c", -5L, 6L, 65L), "-5 6 A"},
               {format_text("%u %d %s", -1L, "many", 7L), "4294967295 many 7"},
               {format_text("%s%s%s%s", "a", "b", "c"), "abc%s"},
               {format_text("100%% %%s %%%s", "x"), "100% %s %x"},
               {format_text("%n %5d %05x %1$s %*s %-5.d %1000s %", "x", 1L),
                "%n %5d %05x %1$s %*s %-5.d %1000s %"},
               {format_text("%.2s|%-5s|%8.3s", "abc", "abc", "abcde"), "ab|abc  |     abc"},
               {format_text("%.s|%-s|%2s", "abc", "abc", "abc"), "|abc|abc"},
               {format_text("%i %x %x", -3L, 255L, "text"), "-3 ff text"},
               {format_text("%s-%s %s", "%s%n", "%%"), "%s%n-%% %s"}})
        EXPECT_EQ(text, expected);
}

TEST_F(Root, MessagesAreFoundByWholeNumberAndCut) {
    put_file("cgi_err", "10-ten\n1-one %s\n2-two\r\n3-last");
    Message text;
    for (const auto& [number, expected] : Pairs{{"1", "one x\n"},
                                                {"10", "ten\n"},
                                                {"2", "two\r\n"},
                                                {"3", "last"},
                                                {"0", "Unknown error"}}) {
        GetErrMsgByIndex(std::stoi(number), text, "x");
        EXPECT_EQ(text, expected);
    }
    GetErrMsgByIndex(1, text, std::string(200, 'x'));
    EXPECT_EQ(text, "one " + std::string(123, 'x'));
    put_file("cgi_err", kNoFile);
    GetErrMsgByIndex(1, text);
    EXPECT_EQ(text, "Unknown error");
}

template <int number>
int fail_with(ValueText& value, LongText&, int& error) {
    value = "never shown";
    return error = number;
}

// Options, a table row and two lines in one, as their generators write them around hostile entries.
constexpr char kMarks[] = "<option><option>&\n<tr>\n<td nowrap></td>'</td>\n</tr> \n1<BR>\"<br>";

std::string expand(const std::string& text, const char* message = nullptr) {
    static const std::string name126(126, 'n');
    // A getter may rely on an empty buffer.
    const auto ok = [](ValueText& value, LongText&, int&) { return (value.append("value"), 0); };
    const auto longer = [](ValueText& value, LongText& shown, int&) {
        return (value = "short", shown = "@ok#" + std::string(200, 'l'), 0);
    };
    const auto list = [](LongText& shown, int&) { return (shown = "<li>@ok#", 0); };
    const auto no_list = [](LongText&, int& error) { return error = 9; };
    const auto marks = [](ValueText&, LongText& shown, int&) { return (shown = kMarks, 0); };
    const auto room = [](ValueText&, LongText& shown, int&) {
        return (shown = std::string(room_on_page() / size_on_page("&"), '&'), 0);
    };
    const auto mark_list = [](LongText& shown, int&) { return (shown = kMarks, 0); };
    const KeyGetter keys[] = {
        {"ok", ok},         {"long", longer},     {"bad", fail_with<7>}, {"worse", fail_with<8>},
        {"plain", nullptr}, {"ok", fail_with<7>}, {name126.c_str(), ok}, {"marks", marks},
        {"ok|bar", ok},     {"room", room}};
    const ArrayFun lists[] = {{"ok", list},
                              {"empty", [](LongText&, int&) { return 0; }},
                              {"bad", no_list},
                              {"marks", mark_list}};
    const FormList form =
        form_of("ok=form&plain=B&plain=A&typed=%40ok%23&mark=%22%26&mark|HTML=odd");
    const Expansion result = expand_template(text, keys, lists, message, &form);
    return result.error ? "error " + std::to_string(*result.error) : result.page;
}

TEST_F(Root, TemplatesExpand) {
    put_file("cgi_err", "2-a\n52-b\n7-seven\n8-eight\n9-nine\n");
    warn_no = 0;
    const std::string n126(126, 'n'), full(kPageSize - 1, 'p');
    for (const auto& [text, page] :
         Pairs{{"<@ok#@ok#>@long##00ffff @plain# @typed# @unknown# @OK# @#@abc",
                "<valuevalue>@ok#" + std::string(200, 'l') + "#00ffff A @ok#   @abc"},
               {"//@ok#.//@empty#.//@plain#.//@" + n126 + "n#.//@lst", "<li>@ok#....//@lst#"},
               {"http://x /@ok# ///@ok#\xff//", "http://x /@ok# ///value\xff//\xff"},
               {"@" + n126 + "#", "value"},
               {"@" + n126 + "n#@ok#/", "@" + n126 + "n#value/"},
               {"//@" + n126 + "nn#@ok#@", "//@" + n126 + "nn##value@"},
               {"@message#@bad#.@worse#.@message#//@bad#@message#", "..eight\nnine\n"},
               {"@bad#\n", "\n"},
               {"@ok#@bad#", "error 7"},
               {"@bad#//@bad#", "error 9"},
               {"@mark|html#//@marks|html#",
                "&quot;&amp;&lt;option&gt;&lt;option&gt;&amp;\n&lt;tr&gt;\n"
                "&lt;td nowrap&gt;&lt;/td&gt;&#39;&lt;/td&gt;\n&lt;/tr&gt; "
                "\n1&lt;BR&gt;&quot;&lt;br&gt;"},
               {"@marks|options#",
                "<option>&lt;option&gt;&amp;\n&lt;tr&gt;\n"
                "&lt;td nowrap&gt;&lt;/td&gt;&#39;&lt;/td&gt;\n&lt;/tr&gt; "
                "\n1&lt;BR&gt;&quot;&lt;br&gt;"},
               {"//@marks|rows#",
                "&lt;option&gt;&lt;option&gt;&amp;\n<tr>\n"
                "<td nowrap>&lt;/td&gt;&#39;</td>\n&lt;/tr&gt; \n1<BR>&quot;&lt;br&gt;"},
               {"@ok|bar#@ok|bar|html#@|html#@ok|#@ok|HTML#@mark|HTML#//@ok|bar#", "valuevalueodd"},
               {"@" + n126.substr(5) + "|html#@" + n126 + "|html#", "@" + n126 + "|html#"},
               {"@bad|html#.@message|html#@message|#", ".seven\n"},
               {full.substr(11) + "@mark|html#", full.substr(11) + "&quot;&amp;"},
               {full.substr(10) + "@mark|html#", "error 2"},
               {full.substr(4) + "@ok#", "error 2"},
               {full.substr(5) + "@ok#", full.substr(5) + "value"}})
        EXPECT_EQ(expand(text), page);
    EXPECT_EQ(expand("@bad#.@message#", "saved"), ".saved");
    EXPECT_EQ(expand("@message#@message|html#", "<"), "<&lt;");
    warn_no = 52;
    EXPECT_EQ(expand("@message#"), "b\n");
    EXPECT_EQ(expand("@message#", "told"), "told");
    EXPECT_EQ(expand("@bad#@message#"), "seven\n");
    warn_no = 0;
}

// What fills all the room that it has leaves so much of the page to what follows.
TEST_F(Root, AGetterKnowsTheRoomOfItsPage) {
    put_file("cgi_err", "52-b\n");
    warn_no = 0;
    const std::size_t full = kPageSize - 1, value = ValueText::capacity;
    const std::pair<std::string, std::size_t> cases[] = {
        {"abc@room#", full},
        {"@ok#@room#//@empty#d@#/@ok#@" + std::string(200, 'n'), full},
        {"@room#@plain#@typed#@unknown#", full},
        {"@room#@typed|html#@mark|html#", full},
        {"@room|html#", full - full % 5},
        {"@room#@ok#//@marks#", full - value + 5 + sizeof kMarks - 1},
        {"@room#@ok|html#", full - 6 * value + 5},
        {"@room#@message#", full - value},
        {"@room#@room#", full}};
    for (const auto& [text, size] : cases) EXPECT_EQ(expand(text).size(), size) << text;
    EXPECT_EQ(expand("@room#@message#", "told").size(), full);
    EXPECT_EQ(room_on_page(), 0U);
}

TEST(Queue, KeepsTheFirstRequestOfEachAction) {
    ProcHeads heads;
    ProcFlags queued{};
    ProcTails tails{};
    EXPECT_EQ(AddProcToQueue(ProcNum, &heads, &queued, &tails), -1);
    EXPECT_EQ(AddProcToQueue(kDelay, nullptr, &queued, &tails), -2);
    EXPECT_EQ(AddProcToQueue(kDelay, &heads, &queued, nullptr), -2);
    for (const Action action :
         {kRunWANConnect, kReconfigFilter, kDelay, kSaveDiald, kReconfigFilter})
        EXPECT_EQ(AddProcToQueue(action, &heads, &queued, &tails), 0);
    std::string order;
    for (std::size_t level = 0; level < kLevels; ++level)
        for (const ProcNode* node = heads[level].get(); node; node = node->next.get())
            order += std::to_string(level) + node->name.c_str() + " ";
    EXPECT_EQ(order, "0SaDiald 2RCFilter 2Delay 3RSNat ");
}

}  // namespace
