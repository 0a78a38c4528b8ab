// Decimal numbers of up to 38 digits, which are added exactly.
#ifndef QBSVR_QBREPORT_BURST_DECIMAL_H
#define QBSVR_QBREPORT_BURST_DECIMAL_H

#include <string>
#include <string_view>

namespace qbreport {

class Decimal {
public:
    // "-1234.50", "3e2"; the empty text is zero. Returns false for another text, or for too many digits.
    bool read(std::string_view text);
    // Returns false, and changes nothing, if the sum has too many digits.
    bool add(const Decimal& other);
    // With as many decimal places as the longest summand.
    std::string text() const;

private:
    __extension__ using Digits = __int128;

    bool rescale(int places);

    Digits digits_ = 0;
    int places_ = 0;
};

}  // namespace qbreport

#endif
