# A file with that text; the session's own folder is gone with it.
file_of <- function(text, extension = ".net") {
    path <- tempfile(fileext = extension)
    writeLines(text, path, useBytes = TRUE)
    path
}

quiet <- function(call) suppressMessages(suppressWarnings(call))

lawn <- function() read_net(system.file("extdata", "lawn.net", package = "lumo"))

# The sample files of the library, which only its own tests have.
samples <- function() {
    folder <- Sys.getenv("LUMO_SAMPLES")
    skip_if(folder == "", "the library's samples are not here")
    files <- list.files(folder, recursive = TRUE, full.names = TRUE)
    files[!grepl("expected$", files)]
}

# What custom.fit(model2network(string), dist) asks of its arguments; returns the parents by node.
expect_fits <- function(x) {
    expect_match(x$string, "^(\\[[^][|:]+(\\|[^][|:]+(:[^][|:]+)*)?\\])+$")
    parts <- strsplit(regmatches(x$string, gregexpr("[^][]+", x$string))[[1]], "|", fixed = TRUE)
    names(parts) <- vapply(parts, `[`, "", 1)
    parents <- lapply(parts, function(part) if (length(part) > 1) strsplit(part[2], ":")[[1]])
    expect_setequal(names(x$dist), names(parents))
    expect_true(all(unlist(parents) %in% names(parents)))
    for (node in names(parents)) {
        # Parents in the order of the string, and of the alphabet.
        expect_identical(parents[[node]], if (length(parents[[node]])) sort(parents[[node]]))
        table <- x$dist[[node]]
        expect_true(is.double(table) && is.table(table))
        expect_identical(names(dimnames(table)), c(node, parents[[node]]))
        for (dimension in names(dimnames(table))) {
            states <- dimnames(table)[[dimension]]
            expect_identical(states, dimnames(x$dist[[dimension]])[[1]])
            expect_true(length(states) > 1 && !anyDuplicated(states) && all(nzchar(states)))
        }
        expect_true(all(table >= 0) && !anyNA(table))
        sums <- colSums(matrix(table, dim(table)[1]))
        expect_lt(max(abs(sums - 1)), 1e-12)
    }
    parents
}
