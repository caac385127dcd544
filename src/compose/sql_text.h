#pragma once
// SqlText: appends fragments into one reserved buffer, line by line.

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace brelvane {

// An optimised build inlines the write at every piece: a call per piece
// cost more than the copy. An unoptimised one (the coverage build among
// them) keeps it one function, so its branches are counted once.
#if defined(__OPTIMIZE__)
#define BRELVANE_EVERY_PIECE [[gnu::always_inline]]
#else
#define BRELVANE_EVERY_PIECE
#endif

/// What SqlText appends: text pieces, integers as their decimal text
/// (numbers go into SQL unquoted), and pieces that write themselves
/// (`piece.writeTo(text)`). A char is refused: it would read as a number or
/// a letter depending on the reader.
template <class P>
concept SqlPiece = std::convertible_to<const P&, std::string_view> ||
                   (std::integral<P> && !std::same_as<P, char> && !std::same_as<P, bool> &&
                    !std::same_as<P, signed char> && !std::same_as<P, unsigned char>) ||
                   requires(const P& piece, class SqlText& text) {
  piece.writeTo(text);
};

/// A placeholder of a composed text and the value that takes its place.
struct Placeholder {
  std::string_view name;  ///< "<CONTO>"
  std::string_view value;
};

/// The text is written into a buffer whose bytes past the text are spare
/// room: appending a piece is a copy into that room, with no call into the
/// string's own append and its checks, which made up most of a long lookup's
/// time.
class SqlText {
 public:
  /// A text with room for `reserve` characters before it must grow.
  explicit SqlText(size_t reserve = 2048) { text_.resize(reserve); }
  /// An empty text written in the storage of `buffer`, with room for
  /// `reserve` characters. Only those are marked as room (a string fills
  /// what it is resized to); growing further stays in the buffer's storage
  /// as long as that has capacity.
  SqlText(std::string&& buffer, size_t reserve) : text_(std::move(buffer)) {
    text_.resize(reserve);
  }
  /// Goes on writing after the text `buffer` holds, in its storage.
  explicit SqlText(std::string&& buffer) : text_(std::move(buffer)), size_(text_.size()) {
    text_.resize(text_.capacity());
  }

  /// Appends the parts, then CR LF.
  template <SqlPiece... Parts>
  SqlText& line(const Parts&... parts) {
    (put(parts), ...);
    write("\r\n", 2);
    return *this;
  }
  /// Appends the parts with no line break.
  template <SqlPiece... Parts>
  SqlText& append(const Parts&... parts) {
    (put(parts), ...);
    return *this;
  }
  /// A lone carriage return.
  SqlText& cr() {
    write("\r", 1);
    return *this;
  }
  /// `count` blanks.
  SqlText& blanks(size_t count) {
    std::memset(room(count), ' ', count);
    size_ += count;
    return *this;
  }

  /// The decimal text of `value`, right-aligned in `width` characters (as
  /// it is when it is wider). The digits go straight into the spare room
  /// when it can hold any number; otherwise through a stack buffer, so that
  /// a buffer reserved at a text's exact length never grows for a number
  /// near its end.
  template <std::integral I>
  SqlText& rightAligned(I value, size_t width) {
    constexpr size_t kDigits = 24;  // any integer, sign included
    size_t digits;
    char* to;
    if (text_.size() - size_ >= kDigits + width) [[likely]] {
      to = text_.data() + size_;
      digits = static_cast<size_t>(std::to_chars(to, to + kDigits, value).ptr - to);
    } else {
      char buffer[kDigits];
      digits = static_cast<size_t>(std::to_chars(buffer, buffer + kDigits, value).ptr - buffer);
      to = room(std::max(digits, width));
      std::memcpy(to, buffer, digits);
    }
    if (digits < width) {
      std::memmove(to + width - digits, to, digits);
      std::memset(to, ' ', width - digits);
    }
    size_ += std::max(digits, width);
    return *this;
  }

  /// Appends what `body()` writes to this text, or nothing when it raises:
  /// a fragment is there whole or not at all.
  template <class Body>
  SqlText& fragment(Body&& body) noexcept {
    const size_t mark = size_;
    try {
      body();
    } catch (...) {
      keepPeak();
      size_ = mark;
    }
    return *this;
  }

  /// Fills the placeholders of the text composed so far, as
  /// fillPlaceholders does.
  SqlText& fill(std::initializer_list<Placeholder> placeholders);

  std::string_view view() const { return {text_.data(), size_}; }
  size_t size() const { return size_; }
  /// The longest the text has been: what a buffer for it must hold.
  size_t peak() const { return std::max(peak_, size_); }
  bool contains(std::string_view s) const { return view().find(s) != std::string_view::npos; }
  /// The text, which leaves this one empty.
  std::string take() {
    text_.resize(size_);
    size_ = 0;
    return std::move(text_);
  }

 private:
  template <class P>
  void put(const P& part) {
    if constexpr (std::convertible_to<const P&, std::string_view>) {
      const std::string_view text(part);
      write(text.data(), text.size());
    } else if constexpr (requires { part.writeTo(*this); }) {
      part.writeTo(*this);
    } else {
      rightAligned(part, 0);
    }
  }

  BRELVANE_EVERY_PIECE void write(const char* data, size_t count) {
    char* to = room(count);
    size_ += count;
    // Most pieces are a few characters ("' ", CR LF, a number, a keyword)
    // or one line of a query: two overlapping fixed-size copies write them
    // without a library call, reading nothing outside the piece.
    if (count <= 16) [[likely]] {
      if (count >= 8) {
        copyFixed<8>(to, data);
        copyFixed<8>(to + count - 8, data + count - 8);
      } else if (count >= 4) {
        copyFixed<4>(to, data);
        copyFixed<4>(to + count - 4, data + count - 4);
      } else if (count > 0) {
        to[0] = data[0];
        to[count / 2] = data[count / 2];
        to[count - 1] = data[count - 1];
      }
    } else if (count <= 32) {
      copyFixed<16>(to, data);
      copyFixed<16>(to + count - 16, data + count - 16);
    } else if (count <= 64) {
      copyFixed<32>(to, data);
      copyFixed<32>(to + count - 32, data + count - 32);
    } else {
      std::memcpy(to, data, count);
    }
  }
  template <size_t N>
  static void copyFixed(char* to, const char* from) {
    char chunk[N];
    std::memcpy(chunk, from, N);
    std::memcpy(to, chunk, N);
  }
  /// Where `count` more characters go, the buffer grown when they do not fit.
  char* room(size_t count) {
    if (text_.size() - size_ < count) [[unlikely]]
      grow(count);
    return text_.data() + size_;
  }
  /// Makes room for `count` more characters: at least twice the buffer.
  [[gnu::noinline]] void grow(size_t count) {
    text_.resize(std::max(2 * text_.size(), size_ + count));
  }
  void keepPeak() { peak_ = peak(); }

  std::string text_;  ///< the text, then spare room
  size_t size_ = 0;
  size_t peak_ = 0;
};

/// Appends the parts to `target`, in the storage it has: rewriting an output
/// this way allocates only when it grows beyond any earlier text. A failure
/// midway leaves the parts written so far.
template <SqlPiece... Parts>
void appendTo(std::string& target, const Parts&... parts) {
  SqlText text(std::move(target));
  try {
    text.append(parts...);
  } catch (...) {
    target = text.take();
    throw;
  }
  target = text.take();
}

/// The decimal text of an integer, for the few places that need it as a
/// string of its own (a list joined by commas, say).
template <std::integral I>
std::string decimal(I value) {
  char digits[24];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

/// Replaces every occurrence of `from`, left to right, case-sensitively.
void replaceAll(std::string& text, std::string_view from, std::string_view to);

/// Replaces the placeholders as replaceAll would, one after the other, in
/// the order given, but in one pass over the text when that gives the same
/// result: when no value holds a '<' or '>' and every '<' of the text starts
/// a placeholder. That pass writes in the text's own buffer unless the text
/// grows at one placeholder and shrinks at another.
void fillPlaceholders(std::string& text, std::initializer_list<Placeholder> placeholders);

inline SqlText& SqlText::fill(std::initializer_list<Placeholder> placeholders) {
  keepPeak();
  text_.resize(size_);
  fillPlaceholders(text_, placeholders);
  size_ = text_.size();
  return *this;
}

/// `value` between apostrophes; nothing inside is escaped.
inline std::string quoted(std::string_view value) {
  std::string text;
  text.reserve(value.size() + 2);
  return text.append(1, '\'').append(value).append(1, '\'');
}

}  // namespace brelvane
