#include "recordkeeping/PendingEntry.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using recordkeeping::PendingEntry;

PendingEntry sample() {
    return {"/home/u/a b%\n\xff.mkv",   {4711, 99, "boot"}, {42, 7, "boot"}, 9, true, PendingEntry::State::saved, 1,
            "/home/u/a b%\n\xff(1).mp4"};
}

TEST(PendingEntryTest, EveryValueSurvivesTheTextWhateverBytesThePathsHold) {
    const auto entry = recordkeeping::pendingEntryFromText(asText(sample()));
    ASSERT_TRUE(entry.has_value());
    EXPECT_EQ(entry->source, sample().source);
    EXPECT_EQ(entry->destination, sample().destination);
    EXPECT_EQ(entry->meeting, sample().meeting);
    EXPECT_EQ(entry->converter, sample().converter);
    EXPECT_EQ(entry->language, 9);
    EXPECT_TRUE(entry->keep);
    EXPECT_EQ(entry->state, PendingEntry::State::saved);
    EXPECT_EQ(entry->attempts, 1);
}

TEST(PendingEntryTest, NoPartOfATextIsAnEntry) {
    const std::string text = asText(sample());
    for (std::size_t size = 0; size + 1 < text.size(); ++size) {
        EXPECT_FALSE(recordkeeping::pendingEntryFromText(text.substr(0, size))) << size;
    }
}

TEST(PendingEntryTest, AnotherTextIsNone) {
    EXPECT_FALSE(recordkeeping::pendingEntryFromText(std::string(4096, '\0')));
    EXPECT_FALSE(recordkeeping::pendingEntryFromText("record-converter pending 1\nsource=/a\nend\n"));
    auto text = asText(sample());
    text.replace(text.find("saved"), 5, "other");
    EXPECT_FALSE(recordkeeping::pendingEntryFromText(text));
    text = asText(sample());
    text.replace(text.find("%20"), 3, "%2x");
    EXPECT_FALSE(recordkeeping::pendingEntryFromText(text));
}

}  // namespace
