// duckdb.mjs FOLDER < SQL: runs the statements in FOLDER, and prints the rows of each question as JSON, by the word in
// the comment before it. $AMBREL_DUCKDB is a folder where @duckdb/node-api is installed.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";

const { DuckDBInstance } = createRequire(`${process.env.AMBREL_DUCKDB}/`)("@duckdb/node-api");
process.chdir(process.argv[2]);
const connection = await (await DuckDBInstance.create()).connect();
const answers = {};
for (const statement of readFileSync(0, "utf8").split(/;\s*$/m).filter((text) => text.trim())) {
    const rows = (await connection.runAndReadAll(statement)).getRowsJson();
    const question = /^\s*-- (\w+)/.exec(statement)?.[1] ?? (rows.length ? Object.keys(answers).length : undefined);
    if (question !== undefined && !/^\s*CREATE/.test(statement)) answers[question] = rows;
}
console.log(JSON.stringify(answers));
