// Writes a model for the example player.
//
//   makeplayermodel OUT [--bare]
//
// --bare leaves out the socket and the weight set.
#include "tests/install/playermodel.h"

#include <cstring>

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    return SavePlayerModel(argv[1], argc > 2 && std::strcmp(argv[2], "--bare") == 0) ? 0 : 1;
}
