#include "AmbrelKit/Platform/PrintableText.hpp"

#include <cstddef>
#include <utf8proc.h>

namespace AmbrelKit {

namespace {

using Character = utf8proc_int32_t;

constexpr Character illFormed = -1;

bool isTag(Character character) { return character >= 0xE0020 && character <= 0xE007F; }

bool isJoiner(Character character) { return character == 0x200C || character == 0x200D; }

bool isSelector(Character character) {
    return (character >= 0xFE00 && character <= 0xFE0F) ||
           (character >= 0xE0100 && character <= 0xE01EF) ||
           (character >= 0x180B && character <= 0x180F && character != 0x180E);
}

/// They have no width, though Unicode does not call them ignorable.
bool isAnnotation(Character character) { return character >= 0xFFF9 && character <= 0xFFFB; }

/// By itself.
bool isSeen(Character character) {
    if (character == illFormed) {
        return false;
    }
    switch (utf8proc_category(character)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
        return false;
    default:
        return utf8proc_get_property(character)->ignorable == 0 && !isAnnotation(character);
    }
}

/// The alphabets that need no joiner end before the Hebrew one; emoji are behind it, too.
bool joins(Character character) {
    constexpr Character hebrew = 0x0590;
    return character >= hebrew;
}

/// For a selector to choose from. No letter of the alphabets before has several.
bool hasShapes(Character character) {
    switch (utf8proc_category(character)) {
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_PO:
    case UTF8PROC_CATEGORY_SO:
        return true;
    default:
        return joins(character) && !isSelector(character);
    }
}

/// Whether a character that is not seen by itself shapes its neighbours.
bool shapes(Character character, Character before, Character after) {
    constexpr Character blackFlag = 0x1F3F4;
    if (isJoiner(character)) {
        return joins(before) && joins(after) && isSeen(after);
    }
    if (isTag(character)) {
        return before == blackFlag || isTag(before);
    }
    return isSelector(character) && hasShapes(before);
}

bool isPrintable(Character character, Character before, Character after) {
    return isSeen(character) || shapes(character, before, after);
}

struct Piece {
    std::string_view bytes;
    Character character = illFormed;
};

Piece firstOf(std::string_view text) {
    Piece piece;
    const auto length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &piece.character);
    piece.bytes = text.substr(0, length > 0 ? static_cast<std::size_t>(length) : 1);
    return piece;
}

/// `text` with what `escape` gives for each piece that is not printable.
template <class Escape> std::string escaped(std::string_view text, Escape escape) {
    std::string shown;
    shown.reserve(text.size());
    Character before = illFormed;
    for (Piece piece = firstOf(text); !text.empty();) {
        text.remove_prefix(piece.bytes.size());
        const Piece next = firstOf(text);
        if (isPrintable(piece.character, before, next.character)) {
            shown += piece.bytes;
            before = piece.character;
        } else {
            shown += escape(piece);
            before = illFormed; // an escape has no shape
        }
        piece = next;
    }
    return shown;
}

std::string hexadecimal(const char* mark, Character number, int digits) {
    std::string text = mark;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[static_cast<std::size_t>(number >> shift) & 0xFU];
    }
    return text;
}

constexpr Character lastOfFourDigits = 0xFFFF;

} // namespace

std::string printable(std::string_view text) {
    return escaped(text, [](const Piece& piece) {
        if (piece.character == illFormed) {
            return hexadecimal("\\x", static_cast<unsigned char>(piece.bytes.front()), 2);
        }
        return piece.character > lastOfFourDigits ? hexadecimal("\\U", piece.character, 8)
                                                  : hexadecimal("\\u", piece.character, 4);
    });
}

std::string printableJSON(std::string_view json) {
    return escaped(json, [](const Piece& piece) -> std::string {
        if (piece.character == illFormed || piece.character == '\n') {
            return piece.character == '\n' ? "\n" : "\xEF\xBF\xBD";
        }
        if (piece.character <= lastOfFourDigits) {
            return hexadecimal("\\u", piece.character, 4);
        }
        const Character rest = piece.character - lastOfFourDigits - 1; // in a pair of surrogates
        return hexadecimal("\\u", 0xD800 + (rest >> 10), 4) +
               hexadecimal("\\u", 0xDC00 + (rest & 0x3FF), 4);
    });
}

} // namespace AmbrelKit
