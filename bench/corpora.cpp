// SPDX-License-Identifier: MIT
// Text generation for the benchmark corpora. A small xorshift generator with
// a fixed seed picks words from per-language lists and strings them into
// sentences, so every run sees the same bytes.
#include "corpora.h"

#include <cstdint>

namespace bench {
namespace {

class Rng {
public:
    explicit Rng(std::uint64_t seed) : s_(seed) {}
    std::uint32_t next() {
        s_ ^= s_ << 13;
        s_ ^= s_ >> 7;
        s_ ^= s_ << 17;
        return static_cast<std::uint32_t>(s_ >> 16);
    }
    std::size_t below(std::size_t n) { return next() % n; }

private:
    std::uint64_t s_;
};

template <std::size_t N>
const char* pick(Rng& rng, const char* const (&words)[N]) {
    return words[rng.below(N)];
}

const char* const kEnglish[] = {
    "the", "of", "and", "to", "in", "is", "was", "that", "for", "it", "with", "as", "his", "on", "be",
    "at", "by", "had", "not", "are", "but", "from", "or", "have", "an", "they", "which", "one", "you",
    "were", "her", "all", "she", "there", "would", "their", "we", "him", "been", "has", "when", "who",
    "will", "more", "no", "if", "out", "so", "said", "what", "up", "its", "about", "into", "than",
    "them", "can", "only", "other", "new", "some", "could", "time", "these", "two", "may", "then",
    "first", "any", "my", "now", "such", "like", "our", "over", "man", "even", "most", "made", "after",
    "also", "did", "many", "before", "must", "through", "years", "where", "much", "your", "way",
    "well", "down", "should", "because", "each", "just", "those", "people", "how", "too", "little",
    "state", "good", "very", "make", "world", "still", "own", "see", "men", "work", "long", "get",
    "here", "between", "both", "life", "being", "under", "never", "day", "same", "another", "know",
    "while", "last", "might", "great", "old", "year", "off", "come", "since", "against", "go", "came",
    "right", "used", "take", "three", "himself", "few", "house", "use", "during", "without", "again",
    "place", "around", "however", "home", "small", "found", "thought", "went", "say", "part", "once",
    "general", "high", "upon", "school", "every", "number", "does", "course", "water", "morning"};

// French and German words, with and without two-byte letters.
const char* const kLatinPlain[] = {
    "le", "la", "les", "de", "des", "un", "une", "et", "est", "dans", "pour", "que", "qui", "sur",
    "avec", "pas", "plus", "nous", "vous", "mais", "comme", "tout", "faire", "dire", "maison",
    "jardin", "soleil", "matin", "ville", "rue", "leur", "notre", "bien", "encore", "toujours",
    "der", "die", "das", "und", "ist", "nicht", "mit", "auf", "ein", "eine", "sich", "den", "von",
    "Stadt", "Haus", "Zeit", "Jahr", "Leute", "Hand", "Arbeit", "Schule", "Wasser", "Abend", "heute"};

const char* const kLatinAccented[] = {
    "été", "très", "déjà", "où", "être", "français", "élève", "garçon", "château", "fenêtre", "forêt",
    "hôtel", "année", "première", "après", "à", "voilà", "même", "ça", "déçu", "préféré", "côté",
    "für", "über", "schön", "Mädchen", "größer", "Straße", "Brücke", "Käse", "müde", "Bäume", "hören",
    "können", "würde", "Tür", "Grüße", "fährt", "Länder", "Größe", "täglich", "möchte", "natürlich"};

const char* const kRussian[] = {
    "и", "в", "не", "на", "что", "это", "как", "он", "мы", "они", "она", "быть", "весь", "так",
    "город", "человек", "время", "работа", "слово", "жизнь", "день", "рука", "дом", "мир", "год",
    "глаз", "друг", "дорога", "вопрос", "место", "история", "страна", "письмо", "утро", "вечер",
    "новый", "старый", "большой", "хороший", "первый", "последний", "говорить", "знать", "видеть",
    "сказать", "думать", "стоять", "идти", "смотреть", "улица", "окно", "вода", "земля", "книга"};

// Chinese text: one character is picked at a time.
const char kHan[] =
    "的一是不了人我在有他这中大来上国个到说们为子和你地出道也时年得就那要下以生会自着去之过家学对可她里后小么心多天"
    "而能好都然没日于起还发成事只作当想看文无开手十用主行方又如前所本见经头面公同三已老从动两长知民样现分将外但身些"
    "与高意进把法此实回二理美点月明其种声全工己话儿者向情部正名定女问力机给等几很业最间新什打便位因重被走电四第门相"
    "次东政海口使教西再平真听世气信北少关并内加化由却代军产入先山五太水万市眼体别处总才场师书比住员九笑性通目华报立"
    "马命张活难神数件安表原车白应路期叫死常提感金何更反合放做系计或司利受光王果亲界及今京务制解各任至清物台象记边共"
    "风战干接它许八特觉望直服毛林题建南度统色字请交爱让认算论百吃义科怎元社术结六功指思非流每青管夫连远资队跟带花快";

const char* const kEmoji[] = {
    "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x82", "\xF0\x9F\x98\x8D", "\xF0\x9F\x98\x8E", "\xF0\x9F\x98\xAD",
    "\xF0\x9F\x91\x8D", "\xF0\x9F\x91\x8F", "\xF0\x9F\x99\x8F", "\xF0\x9F\x94\xA5", "\xF0\x9F\x8E\x89",
    "\xF0\x9F\x8C\x8D", "\xF0\x9F\x8C\xB8", "\xF0\x9F\x8D\x95", "\xF0\x9F\x9A\x80", "\xF0\x9F\x92\xAF",
    "\xF0\x9F\xA4\x94", "\xF0\x9F\xA5\xB3", "\xF0\x9F\x90\xB1", "\xF0\x9F\x92\x96", "\xF0\x9F\x8E\xB5"};

// Appends a sentence of `words` words from the list, first letter as it
// comes, separated by spaces, ending in ". ".
template <std::size_t N>
void sentence(std::string& out, Rng& rng, const char* const (&list)[N]) {
    const std::size_t words = 6 + rng.below(10);
    for (std::size_t i = 0; i < words; ++i) {
        if (i != 0) out += (rng.below(12) == 0) ? ", " : " ";
        out += pick(rng, list);
    }
    out += ". ";
}

void englishSentence(std::string& out, Rng& rng) {
    const std::size_t from = out.size();
    sentence(out, rng, kEnglish);
    out[from] = static_cast<char>(out[from] - 'a' + 'A');
}

// French and German: about one character in ten is a two-byte one.
void latinSentence(std::string& out, Rng& rng) {
    const std::size_t words = 6 + rng.below(10);
    for (std::size_t i = 0; i < words; ++i) {
        if (i != 0) out += (rng.below(12) == 0) ? ", " : " ";
        out += rng.below(10) < 5 ? pick(rng, kLatinAccented) : pick(rng, kLatinPlain);
    }
    out += ". ";
}

void cjkSentence(std::string& out, Rng& rng) {
    constexpr std::size_t kChars = (sizeof kHan - 1) / 3;
    const std::size_t n = 8 + rng.below(24);
    for (std::size_t i = 0; i < n; ++i) {
        out.append(kHan + 3 * rng.below(kChars), 3);
        if (rng.below(10) == 0) out += "\xEF\xBC\x8C";  // fullwidth comma
    }
    out += "\xE3\x80\x82";  // ideographic full stop
    if (rng.below(8) == 0) out += '\n';
}

// English words with emoji between them: about three characters in ten are
// four-byte ones.
void emojiSentence(std::string& out, Rng& rng) {
    const std::size_t words = 4 + rng.below(6);
    for (std::size_t i = 0; i < words; ++i) {
        out += pick(rng, kEnglish);
        out += ' ';
        for (std::size_t k = 1 + rng.below(4); k > 0; --k) out += pick(rng, kEmoji);
        out += ' ';
    }
}

void mixedSentence(std::string& out, Rng& rng) {
    switch (rng.below(5)) {
    case 0: englishSentence(out, rng); break;
    case 1: latinSentence(out, rng); break;
    case 2: sentence(out, rng, kRussian); break;
    case 3: cjkSentence(out, rng); break;
    default: emojiSentence(out, rng); break;
    }
}

// A control sequence: 0x01, a few content characters 0x20..0x7E, 0x02.
void controlSequence(std::string& out, Rng& rng) {
    out += '\x01';
    const std::size_t n = 2 + rng.below(8);
    for (std::size_t i = 0; i < n; ++i) out += static_cast<char>('A' + rng.below(26));
    out += '\x02';
}

// Characters of a UTF-8 string (by counting the bytes that are not
// continuation bytes).
std::size_t charactersIn(const std::string& s, std::size_t from) {
    std::size_t n = 0;
    for (std::size_t i = from; i < s.size(); ++i) n += (static_cast<unsigned char>(s[i]) & 0xC0) != 0x80;
    return n;
}

std::string generate(Corpus corpus, std::size_t bytes) {
    Rng rng(0x9E3779B97F4A7C15ull + static_cast<unsigned>(corpus));
    std::string out;
    std::size_t sinceSequence = 0;
    while (out.size() < bytes + 64) {
        const std::size_t before = out.size();
        switch (corpus) {
        case Corpus::Ascii: englishSentence(out, rng); break;
        case Corpus::Latin: latinSentence(out, rng); break;
        case Corpus::Cyrillic: sentence(out, rng, kRussian); break;
        case Corpus::Cjk: cjkSentence(out, rng); break;
        case Corpus::Emoji: emojiSentence(out, rng); break;
        case Corpus::Mixed:
        case Corpus::MixedControl: mixedSentence(out, rng); break;
        }
        if (corpus == Corpus::MixedControl) {
            sinceSequence += charactersIn(out, before);
            if (sinceSequence >= 200) {
                controlSequence(out, rng);
                sinceSequence = 0;
            }
        }
    }
    // Cut after the last whole character that fits.
    std::size_t cut = bytes;
    while (cut > 0 && (static_cast<unsigned char>(out[cut]) & 0xC0) == 0x80) --cut;
    out.resize(cut);
    return out;
}

}  // namespace

const std::vector<CorpusInfo>& corpora() {
    static const std::vector<CorpusInfo> all = {
        {Corpus::Ascii, "ascii"}, {Corpus::Latin, "latin"}, {Corpus::Cyrillic, "cyrillic"},
        {Corpus::Cjk, "cjk"},     {Corpus::Emoji, "emoji"}, {Corpus::Mixed, "mixed"},
        {Corpus::MixedControl, "mixed+ctrl"}};
    return all;
}

Text makeText(Corpus corpus, std::size_t bytes) {
    Text t;
    t.utf8 = generate(corpus, bytes);
    const auto* p = reinterpret_cast<const unsigned char*>(t.utf8.data());
    const auto* end = p + t.utf8.size();
    while (p != end) {  // the generated text is well-formed by construction
        char32_t c;
        if (*p < 0x80) {
            c = *p++;
        } else if (*p < 0xE0) {
            c = (char32_t(p[0] & 0x1F) << 6) | (p[1] & 0x3F);
            p += 2;
        } else if (*p < 0xF0) {
            c = (char32_t(p[0] & 0x0F) << 12) | (char32_t(p[1] & 0x3F) << 6) | (p[2] & 0x3F);
            p += 3;
        } else {
            c = (char32_t(p[0] & 0x07) << 18) | (char32_t(p[1] & 0x3F) << 12) | (char32_t(p[2] & 0x3F) << 6) |
                (p[3] & 0x3F);
            p += 4;
        }
        t.utf32 += c;
        if (c < 0x10000) {
            t.utf16 += static_cast<char16_t>(c);
        } else {
            t.utf16 += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            t.utf16 += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }
    return t;
}

}  // namespace bench
