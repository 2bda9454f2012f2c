damaged <- 'net {}\nnode A { states = ("a" "b"); }\npotential (A) { data = (0.5 x); }\n'

test_that("problems are warnings with file and line", {
    file <- file_of(damaged)
    seen <- list()
    net <- withCallingHandlers(read_net(file), lumo_problem = function(w) {
        seen <<- c(seen, list(w))
        tryInvokeRestart("muffleWarning")
        tryInvokeRestart("muffleMessage")
    })
    expect_s3_class(seen[[1]], c("lumo_error", "lumo_problem", "warning"), exact = FALSE)
    expect_match(conditionMessage(seen[[1]]), paste0(file, ":3:29: error: "), fixed = TRUE)
    expect_identical(seen[[1]]$report$line, 3L)
    expect_identical(net$status, "errors")
    expect_identical(net$reports$number[1], seen[[1]]$report$number)
    expect_output(explain_problem(net$reports$number[1]), as.character(net$reports$number[1]))
    expect_error(explain_problem(1), "there is no report 1")
})

test_that("what cannot be read is an error of its own", {
    expect_error(read_net("no such file.net"), "no such file", class = "lumo_file_error")
    error <- expect_error(read_net(file_of("nothing", ".net"), "xmlbif"), class = "lumo_read_error")
    expect_gt(nrow(error$reports), 0)
    expect_error(read_net(file_of("nothing", ".what")), "cannot tell the format", class = "lumo_read_error")
    expect_error(read_net(file_of(damaged), "word"), "no format 'word'")
    expect_error(read_net(c("a", "b")), "`path` should be one text")
    expect_error(read_net(file_of(damaged), strict = NA), "`strict` should be TRUE or FALSE")
})

test_that("reading has its options", {
    noisy <- file_of('net {}\nnode A { states = ("a" "b"); }\npotential (A) { data = (2 6); }\n')
    expect_equal(unname(c(quiet(read_net(noisy, normalize = TRUE))$nodes$A$prob)), c(0.25, 0.75))
    classes <- file_of(paste("class One { node A { states = (\"a\" \"b\"); } }",
                             "class Two { node B { states = (\"a\" \"b\"); } }"))
    expect_named(quiet(read_net(classes, class_name = "Two"))$nodes, "B")
    expect_named(quiet(read_net(classes, strict = TRUE))$nodes, "A")
})

test_that("texts are UTF-8, whatever the file and its name are in", {
    text <- 'net {}\nnode A { label = "caf\xe9"; states = ("\xc3\xa9t\xc3\xa9" "b"); }\n'
    folder <- file.path(tempdir(), "\u00e9")
    skip_if_not(l10n_info()$`UTF-8`)
    dir.create(folder)
    on.exit(unlink(folder, recursive = TRUE))
    file <- file.path(folder, "n\u00f8tt.net")
    writeLines(text, file, useBytes = TRUE)
    net <- quiet(read_net(file))
    expect_identical(net$nodes$A$title, "caf\u00e9")
    expect_identical(net$nodes$A$states, c("\u00e9t\u00e9", "b"))
    expect_identical(Encoding(c(net$nodes$A$title, net$file)), c("UTF-8", "UTF-8"))
    write_net(net, file.path(folder, "\u00fc.json"))
    expect_true(any(grepl("caf\u00e9", readLines(file.path(folder, "\u00fc.json"),
                                                 encoding = "UTF-8"))))
})

test_that("labels of states are distinct and say something", {
    file <- file_of('net {}\nnode A { states = ("a" "" "a" "a.1" "b c"); }')
    states <- quiet(read_net(file))$nodes$A$states
    expect_length(states, 5)
    expect_false(anyDuplicated(states) > 0 || any(states == ""))
    expect_identical(states[c(1, 5)], c("a", "b c"))
})

test_that("an interrupt ends an import, and the next one works", {
    nodes <- sprintf('node N%d { label = "node"; states = ("a" "b"); }', 1:20000)
    big <- file_of(c("net {}", nodes))
    how <- list(format = "", strict = FALSE, normalize = FALSE, condense = FALSE,
                create_state_names = FALSE, class_name = "", max_memory = 2^31)
    within <- NULL
    for (try in 1:20) {
        ended <- tryCatch(
            withCallingHandlers({
                tools::pskill(Sys.getpid(), tools::SIGINT)
                .Call(lumo:::lumo_read, big, how)
                "read"
            }, interrupt = function(i) {
                within <<- length(lawn()$nodes)  # which may read as well
            }),
            interrupt = function(i) "interrupted")
        expect_identical(ended, "interrupted")
        if (!is.null(within)) break  # the interrupt came while the file was read
    }
    expect_identical(within, 3L)
    expect_length(lawn()$nodes, 3)
})
