#include "scpi/parser.hpp"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

#include "scpi/errors.hpp"

namespace synthor::scpi {
namespace {

bool isAlpha(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isSpace(char c) {
    // White space is any byte 0..32 except the terminator.
    return static_cast<unsigned char>(c) <= 32 && c != '\n';
}
std::string upper(std::string_view s) {
    std::string u(s);
    for (char& c : u)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return u;
}

struct Failure {
    int code;
    std::string detail;
};

class Scanner {
  public:
    explicit Scanner(std::string_view line) : s_(line) {}

    bool atEnd() const { return i_ >= s_.size(); }
    char peek() const { return atEnd() ? '\0' : s_[i_]; }
    void skipSpace() {
        while (!atEnd() && isSpace(s_[i_]))
            ++i_;
    }

    // After a failure: past the next ";" outside quotes, or to the end.
    void resync() {
        char quote = 0;
        while (!atEnd()) {
            const char c = s_[i_++];
            if (quote != 0) {
                if (c == quote) quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == ';') {
                return;
            }
        }
    }

    Unit unit() {
        Unit u;
        header(u);
        const bool spaced = !atEnd() && isSpace(peek());
        skipSpace();
        if (atEnd() || peek() == ';') return u;
        if (!spaced) throw Failure{err::Syntax, "unexpected character after the header"};
        for (;;) {
            u.params.push_back(param());
            skipSpace();
            if (atEnd() || peek() == ';') return u;
            if (peek() != ',') throw Failure{err::Syntax, "expected , between parameters"};
            ++i_;
            skipSpace();
        }
    }

    std::size_t pos() const { return i_; }
    void advance() { ++i_; }

  private:
    std::string mnemonic() {
        const std::size_t start = i_;
        if (!isAlpha(peek())) throw Failure{err::Syntax, "a header needs a letter"};
        while (!atEnd() && (isAlpha(peek()) || isDigit(peek()) || peek() == '_'))
            ++i_;
        return upper(s_.substr(start, i_ - start));
    }

    void header(Unit& u) {
        if (peek() == '*') {
            ++i_;
            u.common = true;
            u.nodes.push_back(mnemonic());
        } else {
            if (peek() == ':') {
                u.rooted = true;
                ++i_;
            }
            u.nodes.push_back(mnemonic());
            while (peek() == ':') {
                ++i_;
                u.nodes.push_back(mnemonic());
            }
        }
        if (peek() == '?') {
            u.query = true;
            ++i_;
        }
    }

    Param param() {
        const char c = peek();
        if (c == '"' || c == '\'') return quoted(c);
        if (c == '#') return hashed();
        if (c == '(') return expression();
        if (isAlpha(c)) {
            Param p;
            p.kind = Param::Kind::Character;
            p.text = mnemonic();
            return p;
        }
        if (isDigit(c) || c == '+' || c == '-' || c == '.') return numeric();
        throw Failure{err::Syntax, "unexpected character in a parameter"};
    }

    Param quoted(char q) {
        ++i_;
        Param p;
        p.kind = Param::Kind::String;
        for (;;) {
            if (atEnd()) throw Failure{err::Syntax, "unterminated string"};
            const char c = s_[i_++];
            if (c == q) {
                if (peek() != q) return p;
                ++i_;
            }
            p.text += c;
        }
    }

    Param expression() {
        int depth = 0;
        do {
            if (atEnd()) throw Failure{err::Syntax, "unterminated expression"};
            const char c = s_[i_++];
            if (c == '(') ++depth;
            if (c == ')') --depth;
        } while (depth > 0);
        Param p;
        p.kind = Param::Kind::Expression;
        return p;
    }

    // "#H1F", "#Q17", "#B101": non-decimal integers; "#<digit>..." is a block.
    Param hashed() {
        ++i_;
        const char base = static_cast<char>(std::toupper(static_cast<unsigned char>(peek())));
        const int radix = base == 'H' ? 16 : base == 'Q' ? 8 : base == 'B' ? 2 : 0;
        if (radix == 0) {
            if (!isDigit(peek())) throw Failure{err::Syntax, "bad # data"};
            // Blocks are not taken: skip to the unit's end.
            while (!atEnd() && peek() != ';')
                ++i_;
            Param p;
            p.kind = Param::Kind::Block;
            return p;
        }
        ++i_;
        const std::size_t start = i_;
        while (!atEnd() && std::isalnum(static_cast<unsigned char>(peek())))
            ++i_;
        const std::string_view digits = s_.substr(start, i_ - start);
        std::uint64_t v = 0;
        const auto [end, ec] =
            std::from_chars(digits.data(), digits.data() + digits.size(), v, radix);
        if (digits.empty() || end != digits.data() + digits.size())
            throw Failure{err::Syntax, "bad non-decimal number"};
        Param p;
        p.value =
            ec == std::errc() ? static_cast<double>(v) : std::numeric_limits<double>::infinity();
        return p;
    }

    Param numeric() {
        const std::size_t start = i_;
        if (peek() == '+' || peek() == '-') ++i_;
        std::size_t digits = 0;
        while (isDigit(peek())) {
            ++i_;
            ++digits;
        }
        if (peek() == '.') {
            ++i_;
            while (isDigit(peek())) {
                ++i_;
                ++digits;
            }
        }
        if (digits == 0) throw Failure{err::Syntax, "a number needs digits"};
        // An exponent: blanks, E, blanks, sign, digits. An "E" without digits starts a suffix.
        std::size_t ex = i_;
        while (ex < s_.size() && isSpace(s_[ex]))
            ++ex;
        if (ex < s_.size() && (s_[ex] == 'e' || s_[ex] == 'E')) {
            std::size_t j = ex + 1;
            while (j < s_.size() && isSpace(s_[j]))
                ++j;
            if (j < s_.size() && (s_[j] == '+' || s_[j] == '-')) ++j;
            if (j < s_.size() && isDigit(s_[j])) {
                while (j < s_.size() && isDigit(s_[j]))
                    ++j;
                i_ = j;
            }
        }
        std::string number;
        for (std::size_t k = start; k < i_; ++k) {
            if (!isSpace(s_[k])) number += s_[k];
        }
        Param p;
        const char* b = number.data();
        const char* e = b + number.size();
        if (*b == '+') ++b;
        const auto [end, ec] = std::from_chars(b, e, p.value);
        if (ec == std::errc::result_out_of_range) {
            p.value = number[0] == '-' ? -std::numeric_limits<double>::infinity()
                                       : std::numeric_limits<double>::infinity();
            // A tiny number reads as zero.
            const auto ePos = number.find_first_of("eE");
            if (ePos != std::string::npos && number.find('-', ePos) != std::string::npos)
                p.value = 0.0;
        } else if (ec != std::errc() || end != e) {
            throw Failure{err::Syntax, "bad number"};
        }
        // A suffix, with or without blanks before it.
        std::size_t j = i_;
        while (j < s_.size() && isSpace(s_[j]))
            ++j;
        if (j < s_.size() && isAlpha(s_[j])) {
            i_ = j;
            const std::size_t sufStart = i_;
            while (!atEnd() && (isAlpha(peek()) || peek() == '/' || isDigit(peek())))
                ++i_;
            p.text = upper(s_.substr(sufStart, i_ - sufStart));
        }
        return p;
    }

    std::string_view s_;
    std::size_t i_ = 0;
};

}  // namespace

std::vector<Unit> parseMessage(std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    std::vector<Unit> units;
    Scanner sc(line);
    for (;;) {
        sc.skipSpace();
        if (sc.atEnd()) break;
        if (sc.peek() == ';') {
            sc.advance();  // an empty unit is skipped
            continue;
        }
        try {
            units.push_back(sc.unit());
            if (!sc.atEnd()) sc.advance();  // the ";"
        } catch (const Failure& f) {
            Unit bad;
            bad.error = f.code;
            bad.detail = f.detail;
            units.push_back(std::move(bad));
            sc.resync();
        }
    }
    return units;
}

}  // namespace synthor::scpi
