// Stands for the part of the compiler's own library that is data: what the processor can do. A reference to it from
// code that is known to lie in the same file cannot be left open until the program starts.
struct {
  unsigned int vendor;
  unsigned int type;
  unsigned int subtype;
  unsigned int features[1];
} __cpu_model __attribute__((visibility("hidden")));
