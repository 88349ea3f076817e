const data = JSON.parse(document.getElementById("data").content.textContent);
const element = (name, properties = {}, ...children) => {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
};
