test_that("many files are read, and errors stand in their places", {
    folder <- tempfile()
    dir.create(file.path(folder, "deeper"), recursive = TRUE)
    on.exit(unlink(folder, recursive = TRUE))
    lawn_file <- system.file("extdata", "lawn.net", package = "lumo")
    file.copy(lawn_file, file.path(folder, c("a.net", "deeper/B.NET", "notes.txt")))
    writeLines("no net", file.path(folder, "c.xdsl"))
    expect_silent(nets <- read_nets(folder))
    expect_identical(basename(names(nets)), c("a.net", "c.xdsl", "B.NET"))
    expect_s3_class(nets[[2]], "lumo_read_error")
    expect_identical(nets[[3]]$nodes, lawn()$nodes)
    table <- as.data.frame(nets)
    expect_identical(table$nodes, c(length(lawn()$nodes), 0L, length(lawn()$nodes)))
    expect_identical(table$status[2], "failed")
    expect_length(read_nets(c(lawn_file, folder), recursive = FALSE), 3)
    expect_error(read_net(folder), "is a folder; read_nets", class = "lumo_file_error")
    expect_error(read_nets(file.path(folder, "none.net"))[[1]], NA)
    expect_error(read_nets(tempdir(check = TRUE), recursive = NA), "TRUE or FALSE")
})

test_that("the nodes of a net are rows", {
    table <- as.data.frame(lawn())
    expect_identical(table$node, names(lawn()$nodes))
    expect_identical(table$parents[table$node == "WetGrass"],
                     paste(lawn()$nodes$WetGrass$parents, collapse = ", "))
    expect_identical(table$states, unname(lengths(lapply(lawn()$nodes, `[[`, "states"))))
})

test_that("a net goes to bnlearn and comes back", {
    net <- lawn()
    x <- as_bnlearn(net)
    fitted <- lapply(names(x$dist), function(name) {
        list(node = name, parents = names(dimnames(x$dist[[name]]))[-1], prob = x$dist[[name]])
    })
    names(fitted) <- names(x$dist)
    names(fitted)[names(fitted) == "Rain"] <- "much rain?"
    fitted <- lapply(fitted, function(node) {
        node$parents[node$parents == "Rain"] <- "much rain?"
        node
    })
    back <- from_bnlearn(structure(fitted, class = c("bn.fit", "bn.fit.dnet")))
    expect_identical(back$nodes$much_rain_$title, "much rain?")
    out <- tempfile(fileext = ".net")
    quiet(write_net(lay_out(back), out))
    again <- quiet(read_net(out))
    expect_identical(again$nodes$WetGrass$states, net$nodes$WetGrass$states)
    expect_equal(sort(c(again$nodes$WetGrass$prob)), sort(c(net$nodes$WetGrass$prob)))
    expect_setequal(again$nodes$WetGrass$parents, sub("Rain", "much_rain_", net$nodes$WetGrass$parents))
    expect_error(from_bnlearn(list()), "bnlearn has fitted")
})
