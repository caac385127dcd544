#pragma once
// SqlText: appends fragments into one reserved buffer, line by line. What
// a value becomes in the text is sql_values.h's to say.

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
#include <vector>

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

struct Placeholder;

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
      while (!values_.empty() && values_.back().first >= mark) values_.pop_back();
    }
    return *this;
  }

  /// Fills the placeholders of the text composed so far (sql_values.h).
  SqlText& fill(std::initializer_list<Placeholder> placeholders);

  /// Hardened mode: the value pieces of sql_values.h escape or check what
  /// they write into this text, and fill leaves the values they wrote as
  /// they are. Off, they write every value as given.
  void harden(bool on) { hardened_ = on; }
  bool hardened() const { return hardened_; }
  /// Marks what was written since `from` as a value that fill must not read.
  void keepAsWritten(size_t from) {
    if (size_ > from) values_.emplace_back(from, size_);
  }

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
  bool hardened_ = false;
  /// The values written hardened, as [begin, end) in the text, in order.
  std::vector<std::pair<size_t, size_t>> values_;
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

}  // namespace brelvane
