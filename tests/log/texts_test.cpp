// The texts of events and mails that are shipped.
#include <gtest/gtest.h>
#include <morvsdk/file.h>
#include <morvsdk/log.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>

#include "support/scratch.h"

using namespace testing_support;
namespace fs = std::filesystem;

namespace {

// The shipped texts, in the place where the library looks for them.
struct Texts : ScratchRoot {
    std::set<std::string> languages;

    Texts() {
        const fs::path texts = path("usr/morv/morvsdk/texts");
        fs::create_directories(texts.parent_path());
        fs::copy(MORV_SOURCE_DIR "/data/texts", texts, fs::copy_options::recursive);
        for (const auto &entry : fs::directory_iterator(texts))
            languages.insert(entry.path().filename().string());
    }
    // Forgets the language that was read before.
    void forget() const { MORVLogGet1(MORV_LOG_SYSTEM, "/dev/null", nullptr); }
};

// The events of the header, and the number of arguments that the comment behind each names.
std::map<uint32_t, size_t> events_of_the_header() {
    const std::string header = read_file(MORV_SOURCE_DIR "/include/morvsdk/log.h");
    const std::regex line(R"(MORV_EVENT_\w+ = (0x[0-9A-F]+),?( +/\* (.*) \*/)?)");
    std::map<uint32_t, size_t> events;
    for (std::sregex_iterator at(header.begin(), header.end(), line), end; at != end; ++at) {
        const std::string arguments = (*at)[3];
        const auto commas = std::count(arguments.begin(), arguments.end(), ',');
        events[uint32_t(std::stoul((*at)[1], nullptr, 16))] = arguments.empty() ? 0 : size_t(commas) + 1;
    }
    return events;
}

std::string sentence(uint32_t event, const std::string &language, const char *const (&arguments)[4]) {
    char *const text = MORVLogConvertEventKey(event, language.c_str(), arguments[0], arguments[1],
                                              arguments[2], arguments[3]);
    const std::string copy = text ? text : "";
    free(text);
    return copy;
}

TEST(EventTexts, EveryEventHasASentenceWithItsArgumentsInEveryLanguage) {
    const Texts texts;
    const auto events = events_of_the_header();
    ASSERT_GE(events.size(), 34U);
    for (const char *language : {"enu", "ger", "fre", "jpn", "cht"})
        EXPECT_TRUE(texts.languages.contains(language)) << language;
    const char *const values[] = {"<one>", "<two>", "<three>", "<four>"};
    for (const std::string &language : texts.languages) {
        texts.forget();
        std::set<std::string> sentences;
        for (const auto &[event, arguments] : events) {
            const std::string text = sentence(event, language, values);
            EXPECT_TRUE(sentences.insert(text).second && !text.empty())
                << language << std::hex << " " << event;
            EXPECT_EQ(text.find('@'), text.npos) << text;
            for (size_t i = 0; i < std::size(values); ++i)
                EXPECT_EQ(text.find(values[i]) != text.npos, i < arguments) << text;
        }
    }
}

TEST(EventTexts, TheNamesOfTypesFitAndDifferInEveryLanguage) {
    const Texts texts;
    for (const std::string &language : texts.languages) {
        std::set<std::string> names;
        for (int type = 0; type <= 4; ++type)
            names.insert(MORVLogConvertType(type, language.c_str()));
        EXPECT_EQ(names.size(), 4U) << language;
        // What does not fit would be this.
        EXPECT_EQ(names.contains("Unknown"), language == "enu") << language;
    }
}

TEST(EventTexts, EveryLanguageHasTheMailOfABlockedAddress) {
    const Texts texts;
    for (const std::string &language : texts.languages) {
        const std::string file = texts.path("usr/morv/morvsdk/texts/" + language + "/mail_templates");
        MLIBSZHASH *mail = PshMLIBSzHashAlloc(512);
        EXPECT_EQ(MLIBFileGetSection(file.c_str(), "AutoBlockAdd", &mail), 2);
        const char *const subject = SzMLIBSzHashGetValue(mail, "subject");
        const char *const body = SzMLIBSzHashGetValue(mail, "body");
        ASSERT_TRUE(subject && body) << language;
        EXPECT_NE(strstr(subject, "%CLIENT_IP%"), nullptr) << language;
        for (const char *word :
             {"%CLIENT_IP%", "%AUTOBLOCK_TIME%", "%AUTOBLOCK_ATTEMPTS%", "%AUTOBLOCK_ATTEMPT_MIN%"})
            EXPECT_NE(strstr(body, word), nullptr) << language << " lacks " << word;
        MLIBSzHashFree(mail);
    }
}

}  // namespace
