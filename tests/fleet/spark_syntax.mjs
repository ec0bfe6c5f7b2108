// spark_syntax.mjs < SQL: prints the errors that a parser of Spark's SQL finds. $AMBREL_SPARK_PARSER is a folder where
// dt-sql-parser and esbuild are installed.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";

const folder = process.env.AMBREL_SPARK_PARSER;
const { buildSync } = createRequire(`${folder}/`)("esbuild");
const bundled = buildSync({
    stdin: { contents: 'export { SparkSQL } from "dt-sql-parser";', resolveDir: folder },
    bundle: true, write: false, format: "cjs", platform: "node",
});
const module = { exports: {} };
new Function("module", "exports", "require", bundled.outputFiles[0].text)(module, module.exports, createRequire(join(folder, "x")));
const errors = new module.exports.SparkSQL().validate(readFileSync(0, "utf8"));
console.log(JSON.stringify(errors.map(({ startLine, message }) => `${startLine}: ${message}`)));
