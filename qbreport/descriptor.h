// The number of an open file, socket or process, which is closed with its owner.
#ifndef QBSVR_QBREPORT_DESCRIPTOR_H
#define QBSVR_QBREPORT_DESCRIPTOR_H

namespace qbreport {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
    Descriptor& operator=(Descriptor&& other) noexcept;
    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    void close();

private:
    int number_ = -1;
};

}  // namespace qbreport

#endif
