#ifndef AMBREL_FUZZ_SUPPORT_BUSVALUES_HPP
#define AMBREL_FUZZ_SUPPORT_BUSVALUES_HPP

#include "fuzz/support/Bytes.hpp"

/// Values as they stand in messages of D-Bus, made of any input: well-formed, as a bus passes them
/// on, whatever their types.
class BusValues {
public:
    static constexpr std::uint32_t mostDescriptors = 4;

    explicit BusValues(const std::vector<std::string>& words) : words_(words) {}

    /// Appends values of these types, which are complete (`completeTypes`). What is read of `input`
    /// for each: a number its bytes, a text as `Bytes::text` does, an array the number of its
    /// elements (a byte), a variant its type (a text).
    void append(std::string_view types, Bytes& input);

    void appendNumber(std::uint64_t number, std::size_t size);
    void appendText(std::string_view text);
    void appendSignature(std::string_view signature);
    void align(std::size_t size) { bytes_.resize((bytes_.size() + size - 1) / size * size); }

    [[nodiscard]] const std::string& bytes() const { return bytes_; }
    /// How many go with the message, for the values of type `h`.
    [[nodiscard]] std::uint32_t descriptors() const { return descriptors_; }

private:
    std::string_view appendOne(std::string_view types, Bytes& input, int depth);
    void appendArray(std::string_view element, Bytes& input, int depth);

    const std::vector<std::string>& words_;
    std::string bytes_;
    std::uint32_t descriptors_ = 0;
};

/// The types at the beginning of `text` that are complete: "a{sv}i" of "a{sv}ia{".
std::string completeTypes(std::string_view text);

/// A path that D-Bus allows: what it does not allow is replaced.
std::string busPath(std::string_view text);

#endif
