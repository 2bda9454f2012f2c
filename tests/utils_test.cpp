// Containers, strings, names, numbers, files: the services under the readers.
#include <gtest/gtest.h>
#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <bit>
#include <charconv>
#include <climits>
#include <clocale>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>
#include <unordered_set>

#include "formats/shared/digits.h"
#include "library/reports/messages.h"
#include "library/reports/reports.h"
#include "library/utilities/Utils.h"
#include "library/utilities/exact.h"
#include "library/utilities/names.h"
#include "library/utilities/numbers.h"
#include "library/utilities/system.h"
#include "tests/fromchars.h"

namespace lumo {
namespace {

/// Keeps the numbers of what it is shown.
class Recorder : public ReportHandler {
public:
    void show(const rept_kt& report) override {
        numbers.push_back(report.number);
        text += report.message;
    }
    std::vector<int> numbers;
    std::string text;
};

class Utils : public testing::Test {
protected:
    Recorder shown;
    HandlerScope handler{shown};
    ReportScope scope;
};

// ---- Containers ----------------------------------------------------------------------------

using Containers = Utils;

TEST_F(Containers, GrowAndBalanceTheAccount) {
    const long long before = VectMemoryInUse_kt();
    {
        vect_kt<double> v;
        v.append(0);
        EXPECT_EQ(v.capacity, 32);
        for (int i = 1; i <= 32; ++i) v.append(i);
        EXPECT_EQ(v.capacity, 96);
        vect_kt<double> copy(v);
        copy.appendAll(v);
        vect_kt<double> moved(std::move(copy));
        EXPECT_EQ(moved.N, 66);
        EXPECT_EQ(moved[65], 32);
        moved.realloc_(65);  // refused
        EXPECT_EQ(shown.numbers, std::vector{msg::reports.failedAssertion.number});
        EXPECT_EQ(moved.N, 66);

        strin_kt s;
        EXPECT_STREQ(s.getCStr(), "");
        EXPECT_EQ(s.capacity(), 32);
        s.append(std::string(200, 'x'));
        s.realloc_(199);  // refused
        strin_kt other(std::move(s));
        other.append('y');
        EXPECT_EQ(other.view(), std::string(200, 'x') + "y");
        EXPECT_GT(VectMemoryInUse_kt(), before);
        EXPECT_EQ(shown.text,
                  "internal check failed: req_size >= N (vect, line 608)"
                  "internal check failed: req_size >= num() (vect3, line 461)");
    }
    EXPECT_EQ(VectMemoryInUse_kt(), before);
    EXPECT_THROW(GrownCapacity_kt(INT_MAX / 2), std::bad_alloc);
    EXPECT_EQ(xmallocf_kt(-1), nullptr);
}

// A block that another thread made is kept by the one that frees it, until it says otherwise.
TEST(LargeBlocks, AreKeptByTheThread) {
    XArray<char> block;
    std::thread([&block] {
        block = NewXArray<char>(5'000'000);
        NewXArray<char>(5'000'000);  // kept, and freed with the thread
    }).join();
    block[4'999'999] = 'x';
    block.reset();
    for (const long long bytes : {4'000'001, 5'000'000, 70'000'000}) {
        block = NewXArray<char>(bytes);
        ASSERT_NE(block, nullptr);
        std::fill_n(block.get(), bytes, 'y');
        block.reset();
    }
    ReleaseKeptMemory_kt();
}

TEST_F(Containers, CStringOf16BitTextEndsInTwoZeros) {
    strin_kt s;
    s.append("\xFF\xFE" + std::string("a\0b\0", 4) + std::string(26, 'x'));
    ASSERT_EQ(s.num(), s.capacity());  // both zeros need growing
    const char* const text = s.getCStr();
    EXPECT_EQ(s.num(), 32);
    EXPECT_EQ(text[32], 0);
    EXPECT_EQ(text[33], 0);
}

// ---- Strings -------------------------------------------------------------------------------

TEST(Strings, Comparing) {
    EXPECT_TRUE(streqli_kt("HR_State", "hr_sTATE"));
    EXPECT_FALSE(streqli_kt("[", "{"));  // 32 apart, but no letters
    EXPECT_FALSE(streqli_kt("ab", "abc"));
    EXPECT_FALSE(streql_kt(nullptr, ""));
    EXPECT_TRUE(HasPrefix_kt("HR_", "HR_"));
    EXPECT_FALSE(HasPrefix_kt("HR_", "HR"));
    EXPECT_TRUE(EqualStrsExceptNumericSuffix_kt("HR_State_", "HR_State_12"));
    EXPECT_FALSE(EqualStrsExceptNumericSuffix_kt("HR_State_", "HR_State_1x"));
    const char* const a[] = {"x", nullptr};
    const char* const b[] = {"x", ""};
    EXPECT_TRUE(EqlArrStrs_kt(a, a, 2));
    EXPECT_FALSE(EqlArrStrs_kt(a, b, 2));
}

TEST(Strings, SubstituteStaysInTheBuffer) {
    struct {
        const char *text, *find, *replacement, *expected;
        bool replaced;
    } const cases[] = {
        {"HRUNTIME_X", "HRUNTIME", "HR", "HR_X", true},
        {"aHRUNTIMEHRUNTIME", "HRUNTIME", "HR", "aHRHR", true},
        {"aaa", "a", "aa", "aaaaaa", true},  // what was put in is not searched again
        {"12345678901234567890", "0", "abcd", "123456789abcd1234567890", true},
        {"12345678901234567890", "1", "123456", "12345678901234567890", false},
        {"abc", "", "x", "abc", false},
    };
    for (const auto& c : cases) {
        char buffer[25] = "";
        std::strcpy(buffer, c.text);
        buffer[24] = '#';
        EXPECT_EQ(SubstStrWithStr_kt(buffer, 24, c.find, c.replacement), c.replaced) << c.text;
        EXPECT_STREQ(buffer, c.expected);
        EXPECT_EQ(buffer[24], '#');
    }
}

TEST(Strings, Classifying) {
    const char* const texts[] = {"a", "", nullptr, nullptr, "b"};
    const int expected[][3] = {{0, 1, 0}, {0, 2, 1}, {0, 3, 3}, {1, 1, 4}, {2, 2, 4}, {2, 3, 2}};
    for (const auto& [from, count, kind] : expected) {
        EXPECT_EQ(StrsNullEmpty_kt(texts + from, count), kind) << from << "," << count;
    }
    EXPECT_EQ(StrsNullEmpty_kt(nullptr, 0), 4);
}

TEST(Strings, Printing) {
    char buffer[12];
    EXPECT_EQ((sprint_int_kt<char, int>(buffer, INT_MIN)), 11);
    EXPECT_STREQ(buffer, "-2147483648");
    EXPECT_EQ(SPrintf(buffer, 4, "%s", "abcdef"), 3);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(Format("%5000d", 7).size(), 5000U);
    EXPECT_STREQ(CharName_kt('{'), "'{'");
    EXPECT_STREQ(CharName_kt(0x8F), "character 0x8F");
}

// ---- Names ---------------------------------------------------------------------------------

TEST(Names, MadeLegalInPlace) {
    struct {
        std::string name, expected;
    } const cases[] = {
        {"smoke", "smoke"},
        {"2nd", "N2nd"},
        {"_x", "N_x"},
        {"", "N"},
        {" \t", "N"},
        {"a - b", "a_b"},
        {"a_ b", "a__b"},
        {"gr\xC3\xB6\xC3\x9F"
         "e",
         "gr_e"},
        {"\xC3\xA9t", "N_t"},
        {"\xE6\x97\xA5", "N"},
        {std::string(300, 'a'), std::string(255, 'a')},
        {"1" + std::string(254, 'a'), "N1" + std::string(253, 'a')},
    };
    for (const auto& c : cases) {
        const OwnedStr name(DupStr_kt(c.name));
        EXPECT_EQ(ToLegalName_kt(name.get()), c.expected);
        EXPECT_TRUE(IsLegalName_kt(name.get()));
        strin_kt s;
        s.append(c.name);
        EXPECT_EQ(ToLegalName_kt(s).view(), c.expected);
    }
    const OwnedStr state(DupStr_kt("0"));
    EXPECT_STREQ(ToLegalName1_kt(state.get(), 's'), "s0");
}

TEST(Names, ManyEqualOnesAreDistinct) {
    // Equal names, names that differ only behind the cut, and names that collide with numbered
    // ones.
    for (const int maxLength : {MaxNameLength, 12}) {
        for (int kind = 0; kind < 3; ++kind) {
            UniqueNames_kt names;
            std::unordered_set<std::string> seen;
            const int count = kind == 0 ? 100000 : 20000;
            for (int i = 0; i < count; ++i) {
                std::string name = kind == 2 && i % 2 == 0 ? "node" : "a long name";
                if (kind == 1) name = "a long na" + std::to_string(i % 1000);
                if (kind == 2 && i % 2 == 1) name = "node" + std::to_string(i / 2);
                name = names.unique(name, 'N', maxLength);
                ASSERT_TRUE(IsLegalName_kt(name) &&
                            name.size() <= static_cast<unsigned>(maxLength));
                ASSERT_TRUE(seen.insert(name).second) << name;
                names.add(name);
            }
        }
    }
}

TEST(Names, UniqueAmongOthers) {
    const char* const existing[] = {"a", nullptr, "a2", "b1"};
    const auto unique = [&](const char* name, int size) {
        const OwnedStr copy(new char[40]);
        std::strcpy(copy.get(), name);
        return std::string(ToLegalUniqueName_kt(copy.get(), existing, 4, 'G', size));
    };
    EXPECT_EQ(unique("c", 0), "c");
    EXPECT_EQ(unique("a", 0), "a3");
    EXPECT_EQ(unique("b1", 40), "b1_2");  // not b12
    EXPECT_EQ(unique("7", 40), "G7");
    UniqueNames_kt all;  // 'q' and all of two characters, until there are no more
    for (int i = 0; i <= 52 * 63; ++i) {
        char name[3] = "q";
        ASSERT_EQ(ToLegalUniqueName_kt(name, all, 'q', sizeof name), name) << i;
        ASSERT_TRUE(IsLegalName_kt(name));
    }
    char none[3] = "q";
    EXPECT_EQ(ToLegalUniqueName_kt(none, all, 'q', sizeof none), nullptr);
    EXPECT_STREQ(none, "q");
    UniqueNames_kt names;
    names.add("x");
    EXPECT_EQ(names.unique("x", 'N'), names.unique("x", 'N'));  // not added
    names.remove("x");
    EXPECT_EQ(names.unique("x", 'N'), "x");

    const char* const labels[] = {"low risk", "low-risk", nullptr, ""};
    const OwnedStrs made(MakeLegalUniqueNames_kt(labels, 4, 'N'), 4);
    const char* const expected[] = {"low_risk", "low_risk2", "N", "N2"};
    EXPECT_TRUE(EqlArrStrs_kt(made.get(), expected, 4));
}

// ---- Numbers -------------------------------------------------------------------------------

TEST(Numbers, Forms) {
    struct {
        const char* text;
        NumberEN result;
        double value;
        int used;
    } const cases[] = {
        {"5.", NumberEN::ok, 5, 2},
        {".5", NumberEN::ok, 0.5, 2},
        {"+3;", NumberEN::ok, 3, 2},
        {"-.25e+2)", NumberEN::ok, -25, 7},
        {"1e", NumberEN::ok, 1, 1},
        {"1e+", NumberEN::ok, 1, 1},
        {"0x10", NumberEN::ok, 0, 1},
        {"1.2.3", NumberEN::ok, 1.2, 3},
        {"1,5", NumberEN::ok, 1, 1},
        {"1e-400", NumberEN::ok, 0, 6},
        {"0e99999999999999999999", NumberEN::ok, 0, 22},
        {"1e400", NumberEN::tooLarge, 0, 5},
        {"-1e99999999999999999999", NumberEN::tooLarge, 0, 23},
    };
    for (const auto& c : cases) {
        double value = 0;
        const char* end = c.text;
        EXPECT_EQ(ParseNumber(c.text, c.text + std::strlen(c.text), value, end), c.result)
            << c.text;
        EXPECT_EQ(value, c.value) << c.text;
        EXPECT_EQ(end - c.text, c.used) << c.text;
        float narrow = 0;
        double wide = 0;
        EXPECT_EQ(ParseFloat(c.text, c.text + std::strlen(c.text), narrow, wide, end), c.result)
            << c.text;
        EXPECT_EQ(narrow, static_cast<float>(c.value)) << c.text;

        char* after = nullptr;
        int error = -7;
        EXPECT_EQ(strtod1_kt(c.text, &after, &error), c.value) << c.text;
        const bool isOk = c.result == NumberEN::ok;
        EXPECT_EQ(error, isOk ? 0 : 1) << c.text;
        EXPECT_EQ(strtodouble2_kt(c.text, &value, nullptr), isOk ? 0 : -2) << c.text;
    }
    for (const char* text : {"inf", "nan", "+-3", ".", "-", "e5", ""}) {
        double value = 7;
        const char* end = nullptr;
        char* after = nullptr;
        int error = 0;
        EXPECT_EQ(ParseNumber(text, text + std::strlen(text), value, end), NumberEN::none) << text;
        EXPECT_EQ(strtodouble2_kt(text, &value, &end), -1) << text;
        EXPECT_EQ(value, 7);
        EXPECT_EQ(strtod1_kt(text, &after, &error), 0);
        EXPECT_TRUE(after == text && error == 1) << text;
    }
}

std::string RandomDecimal(std::mt19937& random) {
    const auto digits = [&](std::size_t most) {
        std::string text;
        for (std::size_t n = random() % (most + 1); n > 0; --n)
            text += static_cast<char>('0' + random() % 10);
        return text;
    };
    std::string text = random() % 4 == 0 ? "-" : "";
    text += random() % 2 == 0 ? std::string(random() % 12, '0') + digits(22) : digits(3);
    if (random() % 4 != 0) text += "." + std::string(random() % 5, '0') + digits(random() % 30);
    if (random() % 3 == 0) text += "e" + std::to_string(static_cast<int>(random() % 700) - 350);
    return text;
}

/// A number halfway between two floats or doubles, or a digit beside it.
std::string HardDecimal(std::mt19937& random) {
    char buffer[1200];
    if (random() % 2 == 0) {
        const float low = std::bit_cast<float>(static_cast<std::uint32_t>(random() % 0x7F000000));
        const double middle =
            (static_cast<double>(low) + static_cast<double>(std::nextafter(low, 1e38F))) / 2;
        SPrintf(buffer, sizeof buffer, "%.*e", static_cast<int>(15 + random() % 40), middle);
    } else {
        const std::uint64_t bits = (std::uint64_t{random()} << 32 | random()) % 0x7FE0000000000000;
        SPrintf(buffer, sizeof buffer, "%.*e", static_cast<int>(15 + random() % 5),
                std::bit_cast<double>(random() % 8 == 0 ? bits % (std::uint64_t{1} << 52) : bits));
    }
    return buffer;
}

/// A float as its own shortest text says it, or with a digit more or other.
std::string FloatDecimal(std::mt19937& random) {
    const float value =
        std::ldexp(static_cast<float>(random() % (1U << 24)), static_cast<int>(random() % 50) - 50);
    char text[64];
    char* end = std::to_chars(text, std::end(text), value, std::chars_format::fixed).ptr;
    if (random() % 4 == 0) *end++ = static_cast<char>('0' + random() % 3);
    if (random() % 4 == 0) end[-1] = static_cast<char>('0' + random() % 10);
    return {text, end};
}

/// The number that the shortest text of a float says.
double FewestDigits(float value) {
    char text[MostDigits];
    double number = 0;
    test::FromChars(text, WriteDigits(text, value), number);
    return number;
}

// Rooms that double at least are new blocks, others the old one made longer.
TEST(Numbers, AreKeptAsTheirFloatsMove) {
    std::vector<float> floats;
    ExactNumbers exact;
    const auto number = [](long long i) {
        return i % 3 == 0 ? 1.0 / static_cast<double>(i + 3) : 0.5;
    };
    for (const unsigned room : {4U, 5U, 64U, 80U, 40'000U, 41'000U}) {
        const std::size_t before = floats.size();
        floats.resize(room);
        if (before == 0)
            exact.over(floats.data(), 4);
        else
            exact.moved(floats.data(), static_cast<long long>(room));
        for (std::size_t i = before; i < room; ++i) {
            floats[i] = static_cast<float>(number(static_cast<long long>(i)));
            if (i % 3 == 0) exact.set(floats.data() + i, number(static_cast<long long>(i)));
        }
    }
    const double* const kept = exact.complete(std::ssize(floats));
    for (long long i = 0; i < std::ssize(floats); ++i) ASSERT_EQ(kept[i], number(i)) << i;
}

// LUMO_NUMBERS in the environment says how many, for a longer run.
TEST(Numbers, AgreeWithTheStandardLibrary) {
    const char* const wanted = std::getenv("LUMO_NUMBERS");
    const int numbers = wanted == nullptr ? 400'000 : std::atoi(wanted);
    std::mt19937 random(20240607);
    for (int i = 0; i < numbers; ++i) {
        std::string text = i % 3 == 0   ? HardDecimal(random)
                           : i % 3 == 1 ? FloatDecimal(random)
                                        : RandomDecimal(random);
        if (i % 2 == 0) text += ", 0.5, 0.5";  // as in a table: short ones are read in one go
        const char* const last = text.data() + text.size();
        double expected = 0;
        const auto [end, error] = test::FromChars(text.data(), last, expected);
        double value = 0;
        const char* after = text.data();
        const NumberEN result = ParseNumber(text.data(), last, value, after);
        ASSERT_EQ(result == NumberEN::none, error == std::errc::invalid_argument) << text;
        if (error == std::errc() && std::isfinite(expected)) {
            ASSERT_EQ(result, NumberEN::ok) << text;
            ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected))
                << text;
            ASSERT_EQ(after, end) << text;
        }
        float narrow = 0;
        double wide = 0;
        const NumberEN asFloat = ParseFloat(text.data(), last, narrow, wide, after);
        const bool more = asFloat == NumberEN::more;
        if (result == NumberEN::ok && (asFloat == NumberEN::ok || more)) {
            ASSERT_EQ(narrow, static_cast<float>(value)) << text;
            ASSERT_EQ(more, FewestDigits(narrow) != value) << text;
            ASSERT_EQ(more ? wide : value, value) << text;
        } else if (result == NumberEN::ok) {
            ASSERT_TRUE(std::isinf(static_cast<float>(value))) << text;
        }
    }
}

TEST(Numbers, IgnoreTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr &&
        std::setlocale(LC_ALL, "fr_FR.UTF-8") == nullptr) {
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    }
    char buffer[30];
    SPrintf(buffer, sizeof buffer, "%g", 0.5);
    const double slow = strtod1_kt("12345678901234567890.5", nullptr, nullptr);
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_STREQ(buffer, "0.5");
    EXPECT_EQ(slow, 12345678901234567890.5);
}

TEST_F(Utils, IntegersAndRounding) {
    struct {
        std::string_view text;
        NumberEN result;
        int value;
    } const cases[] = {{"-2147483648", NumberEN::ok, INT_MIN},
                       {"+7x", NumberEN::ok, 7},
                       {"-123456789", NumberEN::ok, -123456789},
                       {"1234567890", NumberEN::ok, 1234567890},
                       {"2147483648", NumberEN::tooLarge, 0},
                       {"+-1", NumberEN::none, 0},
                       {"", NumberEN::none, 0},
                       {"x", NumberEN::none, 0}};
    for (const auto& c : cases) {
        int value = 0;
        const char* end = nullptr;
        EXPECT_EQ(ParseInteger(c.text.data(), c.text.data() + c.text.size(), value, end), c.result)
            << c.text;
        EXPECT_EQ(value, c.value);
    }
    EXPECT_EQ(RoundToInt_kt(-2.5), -2);
    EXPECT_EQ(RoundToInt_kt(std::nan("")), 0);
    EXPECT_EQ(RoundToInt_kt(INT_MIN - 0.25), INT_MIN);
    EXPECT_TRUE(shown.numbers.empty());
    EXPECT_EQ(RoundToInt_kt(-1e300), INT_MIN);
    EXPECT_EQ(RoundToInt_kt(2147483647.5), INT_MAX);
    EXPECT_EQ(shown.text,
              "internal check failed: r >= INT_MIN (Utils, line 319)"
              "internal check failed: r <= INT_MAX (Utils, line 320)");
}

// ---- Files ---------------------------------------------------------------------------------

TEST(Files, Names) {
    struct {
        const char *path, *name, *bare, *withExtension;
    } const cases[] = {
        {"/a.b/net", "net", "/a.b/net", "/a.b/net.lumo"},
        {"dir/asia.net", "asia.net", "dir/asia", "dir/asia.net.lumo"},
        {".hidden", ".hidden", ".hidden", ".hidden.lumo"},
        {"x.lumo", "x.lumo", "x", "x.lumo.lumo"},
        {"/", "", "/", "/.lumo"},
    };
    for (const auto& c : cases) {
        char path[40];
        std::strcpy(path, c.path);
        EXPECT_STREQ(FileNamePtr_kt(path), c.name);
        EXPECT_STREQ(AddExtension_kt(path, LumoFileExtension_sy), c.withExtension);
        std::strcpy(path, c.path);
        RemoveExtension_kt(path);
        EXPECT_STREQ(path, c.bare);
    }
}

class ReadingFiles : public Utils {
protected:
    std::string path = testing::TempDir() + "lumo_read_" + std::to_string(system::ProcessNumber());
    ~ReadingFiles() override { std::filesystem::remove(path); }

    /// The text read, or "(null)".
    std::string read(long long maxLength = -1) {
        long long length = -1;
        const XArray<char> text(FileToStringThrows_kt(path.c_str(), maxLength, &length));
        if (text == nullptr) return "(null)";
        EXPECT_EQ(text[static_cast<std::size_t>(length)], 0);
        return {text.get(), static_cast<std::size_t>(length)};
    }
    void write(std::string_view text) { std::ofstream(path, std::ios::binary) << text; }
};

TEST_F(ReadingFiles, Regular) {
    const std::string large(300000, 'x');
    for (const std::string& text : {std::string(), std::string("a\r\nb"), large}) {
        write(text);
        EXPECT_EQ(read(), text);
        EXPECT_EQ(read(2), text.substr(0, 2));
        EXPECT_EQ(read(0), "");
    }
    EXPECT_TRUE(shown.numbers.empty());
    write(std::string("ab\0c", 4));
    EXPECT_EQ(read().size(), 4U);
    EXPECT_NE(shown.text.find("offset 2"), std::string::npos);
    write(
        std::string("\xFF\xFE"
                    "a\0",
                    4));  // 16-bit text is refused elsewhere
    EXPECT_EQ(read().size(), 4U);
    EXPECT_EQ(shown.numbers, std::vector{msg::reports.zeroByte.number});
}

TEST_F(ReadingFiles, FailuresAreNotices) {
    EXPECT_EQ(read(), "(null)");
    EXPECT_EQ(shown.numbers, std::vector{msg::reports.cannotOpenFile.number});
}

#ifdef __linux__

TEST_F(ReadingFiles, FailuresOfOpenFilesAreNotices) {
    path = testing::TempDir();
    EXPECT_EQ(read(), "(null)");
    path = "/proc/self/mem";  // opens, but address 0 cannot be read
    EXPECT_EQ(read(), "(null)");
    path.clear();
    EXPECT_EQ(shown.numbers, (std::vector{msg::reports.cannotReadFile.number,
                                          msg::reports.cannotReadFile.number}));
}

TEST_F(ReadingFiles, SizeUnknown) {
    path = "/proc/self/status";
    EXPECT_NE(read().find("VmSize"), std::string::npos);
    path.clear();
}

TEST_F(ReadingFiles, Fifos) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(read(), "");  // nobody writes
    const std::string text(200000, 'p');
    const int keeper =
        ::open(path.c_str(), O_RDONLY | O_NONBLOCK);  // so that opening does not wait
    std::ofstream out(path, std::ios::binary);
    std::thread writer([&] {
        for (std::size_t i = 0; i < text.size(); i += 50000) {
            ::usleep(2000);
            out << text.substr(i, 50000) << std::flush;
        }
        out.close();
    });
    EXPECT_EQ(read(), text);
    writer.join();
    ::close(keeper);
}

#endif

/// The shortest decimal of a float is what the standard library writes, and the nearest of them.
TEST(Numbers, ShortestDoubleIsWhatIsWritten) {
    std::mt19937 random(3);
    const auto expect = [](float value) {
        if (!std::isfinite(value)) return;
        char text[80];
        const bool inFull = std::fabs(value) >= 1e-15F && std::fabs(value) < 1e15F;
        const char* const end =
            std::to_chars(text, text + 80, value,
                          inFull ? std::chars_format::fixed : std::chars_format::scientific)
                .ptr;
        double written = 0;
        test::FromChars(text, end, written);
        ASSERT_EQ(ShortestDouble(value), written) << value;
    };
    for (int i = 0; i < 200'000; ++i) {
        const auto bits = static_cast<std::uint32_t>(random());
        expect(std::bit_cast<float>(bits));
        expect(static_cast<float>(bits / 4294967296.0));
        expect(static_cast<float>(bits % 100'000'000 / 1e8));
        expect(-static_cast<float>(std::pow(10, -(bits % 2000 / 100.0))));
    }
    for (const float value : {0.0F, -0.0F, 1.0F, 0.1F, 1e-45F, 3.4e38F, 9.999999F, 16777217.0F})
        expect(value);
}

}  // namespace
}  // namespace lumo
