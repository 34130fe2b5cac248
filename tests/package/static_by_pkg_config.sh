# Builds and runs the consumer in CONSUMER against the static libraries in PREFIX.
set -eu
libraries=$(dirname "$(dirname "$(find "$PREFIX" -name kyrorvel.pc)")")
cp "$CONSUMER/consumer.cpp" .

export PKG_CONFIG_PATH="$libraries/pkgconfig"
g++ -std=c++17 consumer.cpp $(pkg-config --static --cflags --libs kyrorvel-client) -o consumer
./consumer
