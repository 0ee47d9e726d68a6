# Reads the table of layers (scripts/layers). For `awk -f`; the variable `table` is the table's path.

# Fills `layers`, indexed by path prefixes; `known`, by layer names; and `mayUse`, by pairs of names.
# Passes errors in the table to `complain(text)`, which the program defines.
function readLayers(    line, words, count, name, uses, i) {
    while ((getline line <table) > 0) {
        count = split(line, words)
        if (count == 0 || words[1] ~ /^#/) {
            continue
        }
        name = words[1]
        mayUse[name, name] = 1
        uses = 0
        for (i = 2; i <= count; ++i) {
            if (words[i] == ":") {
                uses = 1
            } else if (!uses) {
                layers[words[i]] = name
            } else if (words[i] in known) {
                mayUse[name, words[i]] = 1
            } else {
                complain(table ": " name " names " words[i] ", no layer above its line")
            }
        }
        known[name] = 1
    }
}

# Returns the layer with the longest prefix of the path, or an empty text.
function layerOf(path,    beginning, best, found) {
    best = 0
    for (beginning in layers) {
        if (index(path, beginning) == 1 && length(beginning) > best) {
            best = length(beginning)
            found = layers[beginning]
        }
    }
    return best ? found : ""
}
