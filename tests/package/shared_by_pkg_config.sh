# Builds and runs the consumer in CONSUMER against the shared libraries in PREFIX.
set -eu
libraries=$(dirname "$(dirname "$(find "$PREFIX" -name kyrorvel.pc)")")
cp "$CONSUMER/consumer.cpp" .

export PKG_CONFIG_PATH="$libraries/pkgconfig"
g++ -std=c++17 consumer.cpp $(pkg-config --cflags --libs kyrorvel-client) -o consumer
LD_LIBRARY_PATH="$libraries" ./consumer
