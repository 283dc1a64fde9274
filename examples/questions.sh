#!/bin/bash
# examples/questions.sh: questions to the dumps in samples/, and the answers of bgp-communities, which
# must be in the PATH. Run it from the top of the tree.
set -euo pipefail

ask() {
    echo "\$ $1"
    bash -c "$1"
}

ask "bgp-communities read --community blackhole --limit 2 samples/updates.mrt.gz | cut -f 3,5,7,12"
ask "bgp-communities decode --type 8 --dictionary samples/communities.txt fbf00064ffff029a"
ask "bgp-communities stats --by as --top 3 samples/rib.mrt.gz | sed -n '/routes by as/,/more/p'"
ask "bgp-communities replay --targets samples/targets.mrt | grep ' target 64500:7'"
