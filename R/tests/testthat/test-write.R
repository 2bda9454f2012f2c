test_that("a net is written as the command line converts it", {
    program <- Sys.getenv("LUMO_IMPORT")
    skip_if(program == "", "the command line is not here")
    for (file in samples()) {
        own <- tempfile(fileext = ".json")
        wanted <- tempfile(fileext = ".json")
        write_net(quiet(read_net(file)), own)
        system2(program, c("convert", shQuote(file), "-o", wanted), stdout = FALSE, stderr = FALSE)
        expect_identical(readLines(own), readLines(wanted), info = file)
        unlink(c(own, wanted))
    }
})

test_that("parameters behind a table that was changed a little are not written", {
    file <- file_of(paste0('<smile version="1.0" id="n"><nodes><cpt id="a"><state id="x"/><state id="y"/>',
        '<probabilities>0.5 0.5</probabilities></cpt><noisymax id="b"><state id="s"/><state id="t"/><parents>a</parents>',
        '<parameters>0.75 0.25 0 1 0.5 0.5</parameters></noisymax></nodes></smile>'), ".xdsl")
    net <- quiet(read_net(file))
    out <- tempfile(fileext = ".xdsl")
    quiet(write_net(net, out))
    expect_match(paste(readLines(out), collapse = ""), "noisymax")
    row <- c(0.5000001, 0.4999999)
    net$nodes$b$prob[, 2] <- row
    quiet(write_net(net, out))
    expect_equal(unname(quiet(read_net(out))$nodes$b$prob[, 2]), row, tolerance = 1e-12)
})

test_that("a net that was saved or changed is written", {
    file <- tempfile(fileext = ".rds")
    on.exit(unlink(file))
    saveRDS(lawn(), file)
    net <- readRDS(file)
    expect_identical(net, lawn())
    net$nodes$Rain$states <- c("much", "none")
    net$nodes$Rain$prob <- c(0.25, 0.75)
    net$nodes$Sprinkler$prob <- net$nodes$Sprinkler$prob[c(3, 1, 2), drop = FALSE]
    net$nodes$WetGrass <- NULL
    net$nodes$Cloud <- list(name = "Cloud", states = c("a cloud", "no cloud", "fog"),
                            parents = "Rain", prob = matrix(c(0.5, 0.25, 0.25, 0, 0, 1), 3))
    out <- tempfile(fileext = ".bif")
    lost <- withVisible(quiet(write_net(net, out)))
    expect_false(lost$visible)
    expect_type(lost$value, "character")
    again <- quiet(read_net(out))
    expect_named(again$nodes, c("Rain", "Sprinkler", "Cloud"))
    expect_identical(dimnames(again$nodes$Cloud$prob)$Rain, c("much", "none"))
    expect_equal(unname(c(again$nodes$Sprinkler$prob)), c(0.4, 0.5, 0.1))
    expect_equal(c(again$nodes$Cloud$prob), c(0.5, 0.25, 0.25, 0, 0, 1))
})

test_that("less is written than the net has", {
    net <- quiet(read_net(grep("umbrella.net$", samples(), value = TRUE)))
    out <- tempfile(fileext = ".dsc")
    on.exit(unlink(out))
    told <- quiet(write_net(net, out, plain = TRUE, only_nature = TRUE))
    expect_identical(told[1], "1 decision node and 2 utility nodes are left out")
    expect_false(any(grepl("position", readLines(out))))
    expect_error(write_net(net, out, plain = NA), "plain")
})

test_that("a net made by hand has what it lacks completed", {
    rain <- list(states = c("rain", "dry"), prob = c(0.25, 0.75))
    lawn <- list(states = c("wet", "dry"), parents = "rain",
                 prob = matrix(c(0.875, 0.125, 0, 1), 2))
    net <- structure(list(nodes = list(rain = rain, lawn = lawn)), class = "lumo_net")
    expect_identical(expect_fits(as_bnlearn(net))$lawn, "rain")
    expect_output(print(net), "lawn: wet, dry | rain", fixed = TRUE)
    expect_output(print(summary(net)), "1 link,")
    file <- tempfile(fileext = ".net")
    write_net(lay_out(net), file)
    again <- quiet(read_net(file))$nodes
    expect_equal(unname(c(again$lawn$prob)), c(0.875, 0.125, 0, 1))
    expect_gt(again$lawn$position[["y"]], again$rain$position[["y"]])
})

test_that("what makes no net is refused by name", {
    refused <- function(change, message) {
        net <- change(lawn())
        expect_error(write_net(net, tempfile(fileext = ".net")), message)
    }
    refused(function(n) { n$nodes$Rain$parents <- "Snow"; n }, "'Rain': there is no parent 'Snow'")
    refused(function(n) { n$nodes$Rain$parents <- "WetGrass"; n$nodes$Rain$prob <- NULL; n },
            "WetGrass")
    refused(function(n) { n$nodes$Rain$prob <- c(0.5, 0.5, 0); n }, "'Rain': `prob` should have")
    refused(function(n) { n$nodes$Rain$prob <- c(-1, 2); n }, "Rain")
    refused(function(n) { dimnames(n$nodes$Rain$prob)$Rain <- c("a", "rain"); n }, "other states")
    refused(function(n) { n$nodes$WetGrass$name <- "a b"; n }, "'a b' is no name")
    refused(function(n) { n$nodes$Rain$kind <- "chance"; n }, "no kind 'chance'")
    refused(function(n) { n$nodes$Rain$states <- c("a", "a"); n }, "'Rain': `states`")
    expect_error(write_net(lawn(), "x.what"), "no format to write 'x.what'")
    expect_error(write_net(lawn(), "/no such folder/x.net"), "cannot write")
    expect_error(write_net(list(), "x.net"), "should be a net")
})

test_that("the file that was read is spared", {
    file <- file_of(readLines(lawn()$source))
    net <- read_net(file)
    expect_error(write_net(net, file), "force = TRUE")
    expect_silent(write_net(net, file, force = TRUE))
    net$status <- "errors"
    expect_error(write_net(net, file, force = TRUE), "read without errors")
})

test_that("arrows end at the borders of what is drawn", {
    square <- list(x = c(8, 12, 12, 8), y = c(8, 8, 12, 12))
    expect_equal(lumo:::border(square, c(10, 10), c(20, 10)), c(12, 10))
    expect_equal(lumo:::border(square, c(10, 10), c(5, 5)), c(8, 8))
    expect_equal(lumo:::border(square, c(10, 10), c(11, 10)), c(11, 10))
})

test_that("tables are arranged by their names where labels are equal", {
    again <- function(nodes) {
        file <- tempfile(fileext = ".net")
        on.exit(unlink(file))
        quiet(write_net(structure(list(nodes = nodes), class = "lumo_net"), file))
        quiet(read_net(file))$nodes$B$prob
    }
    states <- c("a", "b")
    parent <- list(states = states, prob = c(0.5, 0.5))
    child <- function(...) list(states = states, parents = "A", prob = array(...))
    wanted <- c(0.125, 0.875, 0.25, 0.75)
    turned <- c(0.125, 0.25, 0.875, 0.75)
    both <- function(names) stats::setNames(list(states, states), names)
    expect_equal(c(again(list(A = parent, B = child(wanted, c(2, 2), both(c("B", "A")))))), wanted)
    expect_equal(c(again(list(A = parent, B = child(turned, c(2, 2), both(c("A", "B")))))), wanted)
    expect_equal(c(again(list(A = parent, B = child(wanted, c(2, 2), both(NULL))))), wanted)
    parent$states <- c("x", "y")
    expect_equal(c(again(list(A = parent, B = child(wanted[c(3, 4, 1, 2)], c(2, 2),
                                            list(B = states, A = c("y", "x")))))), wanted)
    # Labels that stand twice in one node.
    arranged <- lumo:::arrange(array(wanted[c(3, 4, 1, 2)], c(2, 2), list(B = c("s", "s"), A = c("y", "x"))),
                               list(list(states = c("s", "s")), parent), c("B", "A"))
    expect_equal(arranged, wanted)
})

test_that("nets are drawn where their files place them", {
    net <- lawn()
    places <- list(c(40, 40), c(140, 40), c(90, 240))
    for (i in 1:3) {
        net$nodes[[i]]$position <- stats::setNames(places[[i]], c("x", "y"))
        net$nodes[[i]]$title <- strrep(i, 2)  # as wide as the others
    }
    file <- tempfile(fileext = ".pdf")
    on.exit(unlink(file))
    grDevices::pdf(file, compress = FALSE, useKerning = FALSE)
    plot(net)
    grDevices::dev.off()
    text <- readLines(file, warn = FALSE)
    at <- sapply(1:3, function(i) {
        line <- grep(sprintf("(%s) Tj", strrep(i, 2)), text, value = TRUE, fixed = TRUE, useBytes = TRUE)
        as.numeric(strsplit(sub(" Tm.*", "", sub(".* Tf ", "", line)), " ")[[1]])[5:6]
    })
    scale <- (at[1, 2] - at[1, 1]) / 100
    expect_gt(scale, 0)
    expect_equal(at[1, ] - at[1, 1], c(0, 100, 50) * scale, tolerance = 0.01)
    expect_equal(at[2, ] - at[2, 1], c(0, 0, -200) * scale, tolerance = 0.01)
})

test_that("nets are drawn and printed", {
    file <- tempfile(fileext = ".pdf")
    grDevices::pdf(file)
    on.exit({ grDevices::dev.off(); unlink(file) })
    for (sample in samples()) {
        net <- quiet(read_net(sample))
        expect_silent(plot(net))
        expect_silent(plot(net, states = TRUE, cex = 0.7))
        expect_output(print(net), net$name, fixed = TRUE)
        expect_output(print(summary(net)), "problems: ")
    }
    net <- lawn()
    for (i in 1:3) net$nodes[[i]]$position <- c(5, 5)
    placed <- lay_out(net)
    expect_gt(placed$nodes$WetGrass$position[["y"]], placed$nodes$Rain$position[["y"]])
    expect_silent(plot(net))
})
