// The codec, and the modem inside the process.

#include "qcci/idl/codec.h"
#include "qcci/services/services.h"
#include "round_trip.h"

namespace {

const qcci::idl::Message& generic() {
  return *qcci::idl::kVendorService.find(QMI_IDL_REQUEST, KELVOR_VENDOR_GENERIC);
}

kelvor_vendor_msg full_message() {
  kelvor_vendor_msg message{REQUEST_ID_EFS, 512, 1, {}};
  for (size_t i = 0; i < sizeof message.data; ++i) message.data[i] = static_cast<uint8_t>(i);
  return message;
}

void codec_encode(benchmark::State& state) {
  const kelvor_vendor_msg message = full_message();
  std::vector<uint8_t> wire(generic().max_encoded);
  for (auto _ : state) {
    benchmark::DoNotOptimize(qcci::idl::encode(generic(), &message, sizeof message, wire));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(wire.size()));
}
BENCHMARK(codec_encode);

void codec_decode(benchmark::State& state) {
  kelvor_vendor_msg message = full_message();
  std::vector<uint8_t> wire(generic().max_encoded);
  if (qcci::idl::encode(generic(), &message, sizeof message, wire).error !=
      qcci::idl::CodecError::kOk) {
    return state.SkipWithError("no message");
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(qcci::idl::decode(generic(), wire, &message, sizeof message));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(wire.size()));
}
BENCHMARK(codec_decode);

}  // namespace

int main(int argc, char** argv) {
  const bench::QuietPhone phone;
  ::setenv("VEX_MODEM", "embedded", 1);
  bench::register_round_trips("embedded");
  return bench::run(argc, argv);
}
