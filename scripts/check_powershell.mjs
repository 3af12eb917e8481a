// usage: node check_powershell.mjs PACKAGES FILE...
//
// Checks Windows PowerShell scripts that cannot be run here: they parse, call only commands that they
// define or that Windows PowerShell 5.1 has with these parameters, and read only variables that are
// assigned somewhere. PACKAGES is where npm has put the parser and its grammar.
import { readFileSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

// Of each command, the parameters that these scripts may use.
const commands = {
  'Add-Content': 'LiteralPath Value Encoding',
  'Add-LocalGroupMember': 'SID Member',
  'ConvertTo-Json': 'InputObject Depth',
  'ConvertTo-SecureString': 'AsPlainText Force',
  'Copy-Item': 'LiteralPath',
  'Get-ChildItem': 'Filter Recurse File LiteralPath',
  'Get-CimInstance': 'ClassName Filter',
  'Get-Date': '',
  'Get-FileHash': 'LiteralPath Algorithm',
  'Get-Content': 'LiteralPath',
  'Get-Item': 'LiteralPath',
  'Get-LocalUser': 'Name ErrorAction',
  'Get-Process': 'Name Id ErrorAction',
  'Get-Service': 'Name ErrorAction',
  'Get-WinEvent': 'FilterHashtable ErrorAction',
  'Join-Path': '',
  'New-Item': 'ItemType Force Path',
  'New-LocalUser': 'Name Password AccountNeverExpires',
  'New-Object': 'Property',
  'Remove-CimInstance': 'ErrorAction',
  'Remove-Item': 'Recurse Force LiteralPath ErrorAction',
  'Remove-LocalUser': 'Name',
  'Select-Object': 'First Last',
  'Select-String': 'Path LiteralPath Pattern SimpleMatch Quiet',
  'Set-Content': 'LiteralPath Value Encoding',
  'Set-StrictMode': 'Version',
  'Sort-Object': '',
  'Split-Path': 'Parent',
  'Start-Process': 'FilePath ArgumentList Credential WorkingDirectory WindowStyle PassThru',
  'Start-Service': 'Name',
  'Start-Sleep': 'Milliseconds Seconds',
  'Stop-Process': 'Force ErrorAction',
  'Test-Path': 'LiteralPath',
  'Where-Object': '',
  'Write-Host': '',
};
const automatic = new Set(
  'true false null _ matches env erroractionpreference myinvocation psscriptroot input args'.split(' '),
);

const [packages, ...files] = process.argv.slice(2);
const load = (file) => import(pathToFileURL(resolve(packages, 'node_modules', file)));
const { Parser, Language } = await load('web-tree-sitter/tree-sitter.js');
await Parser.init();
const parser = new Parser();
const grammar = join(packages, 'node_modules/tree-sitter-powershell/tree-sitter-powershell.wasm');
parser.setLanguage(await Language.load(resolve(grammar)));

const findings = [];
const defined = new Set();
const calls = [];
const assigned = new Set();
const read = [];
const nameOf = (variable) => variable.replace(/^[$@]\{?(script:|global:)?/i, '').replace(/\}$/, '').toLowerCase();

function visit(node, file) {
  const where = `${file}:${node.startPosition.row + 1}`;
  if (node.isError || node.isMissing) findings.push(`${where}: does not parse: ${node.text.slice(0, 60)}`);
  if (node.type === 'function_name') defined.add(node.text.toLowerCase());
  if (node.type === 'command') {
    const name = node.childForFieldName('command_name');
    const parameters = node.descendantsOfType('command_parameter').filter((p) => {
      let owner = p.parent;
      while (owner.type !== 'command') owner = owner.parent;
      return owner.id === node.id;
    });
    if (name && /^[A-Za-z]+-[A-Za-z]+$/.test(name.text)) calls.push([where, name.text, parameters.map((p) => p.text)]);
  }
  if (node.type === 'variable' || node.type === 'braced_variable') {
    if (!/^\$env:/i.test(node.text)) read.push([where, nameOf(node.text)]);
  }
  if (node.type === 'left_assignment_expression') {
    for (const variable of node.descendantsOfType('variable')) assigned.add(nameOf(variable.text));
  }
  if (node.type === 'script_parameter' || node.type === 'foreach_statement') {
    const variable = node.descendantsOfType('variable')[0];
    if (variable) assigned.add(nameOf(variable.text));
  }
  for (const child of node.children) visit(child, file);
}

for (const file of files) visit(parser.parse(readFileSync(file, 'utf8')).rootNode, file);
for (const [where, name, parameters] of calls) {
  if (defined.has(name.toLowerCase())) continue;
  const known = commands[Object.keys(commands).find((k) => k.toLowerCase() === name.toLowerCase())];
  if (known === undefined) findings.push(`${where}: unknown command ${name}`);
  for (const parameter of parameters) {
    if (known !== undefined && !known.split(' ').includes(parameter.replace(/^-/, '').replace(/:$/, ''))) {
      findings.push(`${where}: ${name} with ${parameter}`);
    }
  }
}
for (const [where, name] of read) {
  if (!assigned.has(name) && !automatic.has(name)) findings.push(`${where}: $${name} is never assigned`);
}
if (calls.length < 50) findings.push(`only ${calls.length} calls of commands were found`);
for (const finding of findings) console.error(finding);
console.log(`${files.length} files, ${calls.length} calls of commands, ${read.length} uses of variables`);
process.exit(findings.length > 0 ? 1 : 0);
